#include "geometry/perspective_rows.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "geometry/grid_row.h"

namespace KELRA {
namespace {

using kernels::GridRow;
using kernels::PerspectiveRow;

// OpenCV works in blocks of at most so many pixels, of so many rows if there are as many. Where one
// begins shows in how positions are rounded.
constexpr int kBlockPixels = 1024;
constexpr int kBlockRows = 16;

// The positions that have all their neighbours in an image with so many pixels around it; with
// none, those that the sampling kernels must find between the first and the last one.
class Field {
 public:
  Field(cv::Size image, int around)
      : lowest_(-around * kPixel),
        highest_x_((image.width - 1 + around) * kPixel - 1),
        highest_y_((image.height - 1 + around) * kPixel - 1) {}

  // Of a position outside negative; a bitwise or tells of many.
  int SignOfInside(const GridRow& source, int column) const {
    const int x = source.X(column);
    const int y = source.Y(column);
    return (x - lowest_) | (y - lowest_) | (highest_x_ - x) | (highest_y_ - y);
  }

  // Those of the columns from the first to the last one inside.
  Columns Outermost(const GridRow& source, Columns columns) const {
    while (columns.first < columns.last && SignOfInside(source, columns.first) < 0) {
      ++columns.first;
    }
    while (columns.first < columns.last && SignOfInside(source, columns.last - 1) < 0) {
      --columns.last;
    }
    return columns;
  }

  bool HasAll(const GridRow& source, Columns columns) const {
    int signs = 0;
    for (int column = columns.first; column < columns.last; ++column) {
      signs |= SignOfInside(source, column);
    }
    return signs >= 0;
  }

 private:
  static constexpr int kPixel = 1 << GridRow::kBits;

  int lowest_, highest_x_, highest_y_;
};

}  // namespace

// Of nine coefficients the last is 1; each pair of points makes two equations for the others:
//   (a x + b y + c) / (g x + h y + 1) = x'
//   (d x + e y + f) / (g x + h y + 1) = y'
// The products are rounded to single precision, as OpenCV forms them.
cv::Matx33d PerspectiveTransform(const FourPoints& from, const FourPoints& to) {
  cv::Matx<double, 8, 8> equations;
  cv::Matx<double, 8, 1> results;
  for (int i = 0; i < 4; ++i) {
    const cv::Point2f p = from[static_cast<std::size_t>(i)];
    const cv::Point2f q = to[static_cast<std::size_t>(i)];
    const double of_x[] = {p.x, p.y, 1, 0, 0, 0, -p.x * q.x, -p.y * q.x};
    const double of_y[] = {0, 0, 0, p.x, p.y, 1, -p.x * q.y, -p.y * q.y};
    std::copy(std::begin(of_x), std::end(of_x), &equations(i, 0));
    std::copy(std::begin(of_y), std::end(of_y), &equations(i + 4, 0));
    results(i) = q.x;
    results(i + 4) = q.y;
  }
  const cv::Matx<double, 8, 1> c = equations.solve(results);
  return {c(0), c(1), c(2), c(3), c(4), c(5), c(6), c(7), 1};
}

bool PerspectiveRows::Take(const cv::Mat& image) {
  return HasGridSamples(image) && image.cols <= kLongestSampledSide &&
         image.rows <= kLongestSampledSide;
}

PerspectiveRows::PerspectiveRows(const cv::Mat& image, const cv::Matx33d& transform)
    : image_(image),
      back_(transform.inv()),
      columns_at_once_(kBlockPixels / std::min(kBlockRows, image.rows)) {}

PerspectiveRow PerspectiveRows::SourceOf(int row, int column) const {
  const auto from_column = [&](int i) {
    return PerspectiveRow::Progression{back_(i, 0) * column + back_(i, 1) * row + back_(i, 2),
                                       back_(i, 0)};
  };
  return {from_column(0), from_column(1), from_column(2)};
}

// Kernels take rows that enter the image once and leave it once. Beside a horizon, and where little
// but rounding is left of a transform, columns are halved until they do.
void PerspectiveRows::WriteColumns(const GridRow& source, int columns, std::byte* to) const {
  const Columns reached = Field(image_.size(), 1).Outermost(source, {0, columns});
  const Field inside(image_.size(), 0);
  if (inside.HasAll(source, inside.Outermost(source, reached))) {
    WriteGridRow(image_, source, reached, columns, 0, to);
    return;
  }
  const int half = columns / 2;
  WriteColumns(source, half, to);
  WriteColumns(source.From(half), columns - half, to + BytesOfAPixel() * half);
}

void PerspectiveRows::Write(int row, void* to) const {
  alignas(64) int x[kBlockPixels];
  alignas(64) int y[kBlockPixels];
  for (int column = 0; column < image_.cols; column += columns_at_once_) {
    const int columns = std::min(columns_at_once_, image_.cols - column);
    kernels::ActiveRowKernels().perspective_positions(SourceOf(row, column), columns, x, y);
    WriteColumns({x, y, 0, 0}, columns, static_cast<std::byte*>(to) + BytesOfAPixel() * column);
  }
}

}  // namespace KELRA
