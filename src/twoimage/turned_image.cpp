#include "twoimage/turned_image.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "frame/row_engine.h"
#include "twoimage/placement.h"

namespace KELRA {
namespace {

// Part of the formula: results depend on these digits.
constexpr double kPi = 3.1415926535;

// So far before the first column or row a coordinate still counts as on it.
constexpr double kTolerance = 0.0001;

// The source position of the box's pixel in column j and row i:
// (cosine j + sine i + shift_x, cosine i - sine j + shift_y).
struct SourceMap {
  double cosine, sine, shift_x, shift_y;
};

SourceMap MapOfBox(double width, double height, cv::Size image, double angle) {
  const double radians = (360.0 - angle) * kPi / 180.0;
  const double c = std::cos(radians);
  const double s = std::sin(radians);
  return {c, s, image.width * 0.5 - (c * width / 2 + s * height / 2),
          s * width / 2 - c * height / 2 + image.height * 0.5};
}

// The first of `columns` columns for which `holds` does; it holds for all after the first one. The
// guess only saves time.
template <class Predicate>
int FirstColumn(double guess, int columns, Predicate holds) {
  int column = guess > 0 ? static_cast<int>(std::min<double>(guess, columns)) : 0;
  while (column > 0 && holds(column - 1)) {
    --column;
  }
  while (column < columns && !holds(column)) {
    ++column;
  }
  return column;
}

struct Columns {
  int first, last;
};

// The columns whose coordinate, slope * column + start but for rounding, lies within [0, size) or
// the tolerance before it. Rounding keeps the coordinate monotone, so they are neighbours.
template <class Coordinate>
Columns ColumnsWithin(double slope, double start, int size, int columns, Coordinate coordinate) {
  const double at_begin = (-kTolerance - start) / slope;
  const double at_end = (size - start) / slope;
  if (slope > 0) {
    return {FirstColumn(at_begin, columns, [&](int j) { return coordinate(j) > -kTolerance; }),
            FirstColumn(at_end, columns, [&](int j) { return coordinate(j) >= size; })};
  }
  return {FirstColumn(at_end, columns, [&](int j) { return coordinate(j) < size; }),
          FirstColumn(at_begin, columns, [&](int j) { return coordinate(j) <= -kTolerance; })};
}

// Pixels are sampled in blocks of this many columns, in three steps whose loops are simple enough
// for the compiler to vectorise the first and the last.
constexpr int kBlock = 64;

// Where the pixels of a block come from: the source pixel left above and the weights of its right
// and lower neighbours.
struct Positions {
  int x[kBlock], y[kBlock];
  double weight_x[kBlock], weight_y[kBlock];
};

// The samples of one channel around these positions, and how much those to the right exceed them.
struct Neighbours {
  int upper[kBlock], upper_rise[kBlock];
  int lower[kBlock], lower_rise[kBlock];
};

void Locate(const SourceMap& map, double row_u, double row_v, int first, int count, Positions* at) {
  for (int k = 0; k < count; ++k) {
    const double u = std::max(map.cosine * (first + k) + row_u + map.shift_x, 0.0);
    const double v = std::max(row_v - map.sine * (first + k) + map.shift_y, 0.0);
    at->x[k] = static_cast<int>(u);
    at->y[k] = static_cast<int>(v);
    at->weight_x[k] = u - at->x[k];
    at->weight_y[k] = v - at->y[k];
  }
}

// In the last column and row a pixel is its own neighbour.
template <class Sample, int kChannels>
void Fetch(const cv::Mat& image, const Positions& at, int count, Neighbours* channels) {
  constexpr std::ptrdiff_t kPixel = kChannels;
  const int last_column = image.cols - 1;
  const int last_row = image.rows - 1;
  for (int k = 0; k < count; ++k) {
    const auto* upper = image.ptr<Sample>(at.y[k]) + at.x[k] * kPixel;
    const auto* lower = image.ptr<Sample>(std::min(at.y[k] + 1, last_row)) + at.x[k] * kPixel;
    const std::ptrdiff_t next = at.x[k] < last_column ? kPixel : 0;
    for (std::ptrdiff_t c = 0; c < kPixel; ++c) {
      channels[c].upper[k] = upper[c];
      channels[c].upper_rise[k] = upper[c + next] - upper[c];
      channels[c].lower[k] = lower[c];
      channels[c].lower_rise[k] = lower[c + next] - lower[c];
    }
  }
}

void Interpolate(const Positions& at, const Neighbours& samples, int count, int* result) {
  for (int k = 0; k < count; ++k) {
    const double above = samples.upper[k] + at.weight_x[k] * samples.upper_rise[k];
    const double below = samples.lower[k] + at.weight_x[k] * samples.lower_rise[k];
    result[k] = static_cast<int>(above + at.weight_y[k] * (below - above));
  }
}

template <class Sample, int kChannels>
void PasteRows(const cv::Mat& image, const SourceMap& map, cv::Mat* box, const RowRange& range) {
  Positions at;
  Neighbours neighbours[kChannels];
  int result[kBlock];
  for (int i = range.begin(); i < range.end(); ++i) {
    const double row_u = map.sine * i;
    const double row_v = map.cosine * i;
    const Columns in_x = ColumnsWithin(map.cosine, row_u + map.shift_x, image.cols, box->cols,
                                       [&](int j) { return map.cosine * j + row_u + map.shift_x; });
    const Columns in_y = ColumnsWithin(-map.sine, row_v + map.shift_y, image.rows, box->cols,
                                       [&](int j) { return row_v - map.sine * j + map.shift_y; });
    const int end = std::min(in_x.last, in_y.last);
    for (int j = std::max(in_x.first, in_y.first); j < end; j += kBlock) {
      const int count = std::min(kBlock, end - j);
      Locate(map, row_u, row_v, j, count, &at);
      Fetch<Sample, kChannels>(image, at, count, neighbours);
      auto* target = box->ptr<Sample>(i) + std::ptrdiff_t{j} * kChannels;
      for (int c = 0; c < kChannels; ++c) {
        Interpolate(at, neighbours[c], count, result);
        for (int k = 0; k < count; ++k) {
          target[k * kChannels + c] = static_cast<Sample>(result[k]);
        }
      }
    }
  }
}

template <class Sample>
void PasteRowsOf(const cv::Mat& image, const SourceMap& map, cv::Mat* box, const RowRange& range) {
  if (image.channels() == 1) {
    PasteRows<Sample, 1>(image, map, box, range);
  } else {
    PasteRows<Sample, 3>(image, map, box, range);
  }
}

}  // namespace

TurnedExtent ExtentOfTurned(cv::Size size, double angle, int x, int y) {
  const std::array<cv::Point2f, 4> corners = TurnedCorners(size, angle);
  // Relative to the corner that is laid on the point, so that it lies there exactly.
  TurnedExtent extent{0, 0, 0, 0};
  for (const cv::Point2f& corner : corners) {
    const double from_x = static_cast<double>(corner.x) - corners[1].x;
    const double from_y = static_cast<double>(corner.y) - corners[1].y;
    extent.min_x = std::min(extent.min_x, from_x);
    extent.min_y = std::min(extent.min_y, from_y);
    extent.max_x = std::max(extent.max_x, from_x);
    extent.max_y = std::max(extent.max_y, from_y);
  }
  return {extent.min_x + x, extent.min_y + y, extent.max_x + x, extent.max_y + y};
}

void PasteTurned(const cv::Mat& image, double angle, const TurnedExtent& extent, cv::Mat* canvas) {
  const double width = std::trunc(extent.max_x - extent.min_x);
  const double height = std::trunc(extent.max_y - extent.min_y);
  const int x = static_cast<int>(std::max(extent.min_x, 0.0));
  const int y = static_cast<int>(std::max(extent.min_y, 0.0));
  const int columns = std::min(static_cast<int>(width), canvas->cols - x);
  const int rows = std::min(static_cast<int>(height), canvas->rows - y);
  if (columns <= 0 || rows <= 0) {
    return;
  }
  cv::Mat box = (*canvas)(cv::Rect(x, y, columns, rows));
  const SourceMap map = MapOfBox(width, height, image.size(), angle);
  ForEachRowRange(rows, 2 * box.total() * box.elemSize(), [&](const RowRange& range) {
    if (image.depth() == CV_8U) {
      PasteRowsOf<std::uint8_t>(image, map, &box, range);
    } else {
      PasteRowsOf<std::uint16_t>(image, map, &box, range);
    }
  });
}

}  // namespace KELRA
