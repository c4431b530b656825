#include "twoimage/turned_image.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "frame/kernels/row_kernels.h"
#include "frame/row_engine.h"
#include "geometry/column_search.h"
#include "twoimage/placement.h"

namespace KELRA {
namespace {

using kernels::Coordinate;

// Part of the formula: results depend on these digits.
constexpr double kPi = 3.1415926535;

// So far before the first column or row a coordinate still counts as on it.
constexpr double kTolerance = 0.0001;

// Where the box's pixels come from: (cosine j + sine i + shift_x, cosine i - sine j + shift_y) for
// the one in column j and row i.
struct SourceMap {
  double cosine, sine, shift_x, shift_y;

  Coordinate X(int row) const { return {cosine, sine * row, shift_x}; }
  Coordinate Y(int row) const { return {-sine, cosine * row, shift_y}; }
};

SourceMap MapOfBox(double width, double height, cv::Size image, double angle) {
  const double radians = (360.0 - angle) * kPi / 180.0;
  const double c = std::cos(radians);
  const double s = std::sin(radians);
  return {c, s, image.width * 0.5 - (c * width / 2 + s * height / 2),
          s * width / 2 - c * height / 2 + image.height * 0.5};
}

// The columns whose coordinate lies within [0, size) or the tolerance before it: they are
// neighbours.
Columns ColumnsWithin(const Coordinate& coordinate, int size, int columns) {
  const double per_slope = 1 / coordinate.slope;
  const double start = coordinate.row + coordinate.shift;
  const double at_begin = (-kTolerance - start) * per_slope;
  const double at_end = (size - start) * per_slope;
  if (coordinate.slope > 0) {
    return {FirstColumn(at_begin, columns, [&](int j) { return coordinate.At(j) > -kTolerance; }),
            FirstColumn(at_end, columns, [&](int j) { return coordinate.At(j) >= size; })};
  }
  return {FirstColumn(at_end, columns, [&](int j) { return coordinate.At(j) < size; }),
          FirstColumn(at_begin, columns, [&](int j) { return coordinate.At(j) <= -kTolerance; })};
}

// Sampling reads two pixels side by side; those of an only column are their own neighbours.
cv::Mat OfTwoColumnsOrMore(const cv::Mat& image) {
  cv::Mat doubled = image;
  if (image.cols == 1) {
    cv::hconcat(image, image, doubled);
  }
  return doubled;
}

// `image` is of `size`, or of two columns instead of one.
template <class Sample>
void PasteRows(const cv::Mat& image, cv::Size size, const SourceMap& map, cv::Mat* box,
               const RowRange& range) {
  const auto& kernels = kernels::ActiveRowKernels().For<Sample>();
  const auto bilinear =
      image.channels() == 1 ? kernels.bilinear_of_one_channel : kernels.bilinear_of_three_channels;
  const kernels::SampledImage<Sample> sampled{
      {image.ptr<Sample>(), static_cast<std::ptrdiff_t>(image.step[0])}, image.rows, image.cols};
  for (int i = range.begin(); i < range.end(); ++i) {
    const Coordinate x = map.X(i);
    const Coordinate y = map.Y(i);
    const Columns in_x = ColumnsWithin(x, size.width, box->cols);
    const Columns in_y = ColumnsWithin(y, size.height, box->cols);
    const int first = std::max(in_x.first, in_y.first);
    const int count = std::min(in_x.last, in_y.last) - first;
    if (count > 0) {
      bilinear(sampled, x, y, first, count,
               box->ptr<Sample>(i) + std::ptrdiff_t{first} * image.channels());
    }
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
  const cv::Mat sampled = OfTwoColumnsOrMore(image);
  ForEachRowRange(rows, 2 * box.total() * box.elemSize(), [&](const RowRange& range) {
    if (image.depth() == CV_8U) {
      PasteRows<std::uint8_t>(sampled, image.size(), map, &box, range);
    } else {
      PasteRows<std::uint16_t>(sampled, image.size(), map, &box, range);
    }
  });
}

}  // namespace KELRA
