#include "geometry/sampled_rows.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/core/utility.hpp>

#include "frame/result_matrix.h"
#include "geometry/grid_row.h"

namespace KELRA {
namespace {

using kernels::GridRow;

constexpr int kPixel = 1 << GridRow::kBits;
constexpr int k32nd = kPixel / 32;

// As OpenCV inverts it.
cv::Matx23d Inverse(const cv::Matx23d& m) {
  const double determinant = m(0, 0) * m(1, 1) - m(0, 1) * m(1, 0);
  const double d = determinant != 0 ? 1 / determinant : 0;
  const double xx = m(1, 1) * d;
  const double xy = -m(0, 1) * d;
  const double yx = -m(1, 0) * d;
  const double yy = m(0, 0) * d;
  return {xx, xy, -xx * m(0, 2) - xy * m(1, 2), yx, yy, -yx * m(0, 2) - yy * m(1, 2)};
}

// The columns in which a pixel of a row or column of `size`, or one beside it, has a part.
Columns Within(int start, const int* steps, double slope, int first_column, int columns, int size) {
  const int lowest = -kPixel + k32nd;
  const int end = size * kPixel;
  const auto at = [&](int column) { return start + steps[column]; };
  const auto is_within = [&](int column) { return at(column) >= lowest && at(column) < end; };
  if (is_within(0) && is_within(columns - 1)) {
    return {0, columns};
  }
  if (steps[0] == steps[columns - 1]) {
    return {0, 0};
  }
  const auto guess = [&](int value) { return (value - start) / (slope * kPixel) - first_column; };
  if (slope > 0) {
    return {FirstColumn(guess(lowest), columns, [&](int j) { return at(j) >= lowest; }),
            FirstColumn(guess(end), columns, [&](int j) { return at(j) >= end; })};
  }
  return {FirstColumn(guess(end), columns, [&](int j) { return at(j) < end; }),
          FirstColumn(guess(lowest), columns, [&](int j) { return at(j) < lowest; })};
}

}  // namespace

bool SampledRows::Take(const cv::Mat& image, const cv::Matx23d& transform, cv::Size canvas) {
  // Far from where a position, its step and their sum no longer fit into an int.
  constexpr double kFarthest = std::numeric_limits<int>::max() / (4.0 * kPixel);
  const cv::Matx23d back = Inverse(transform);
  const auto is_near = [&](int i) {
    return std::abs(back(i, 0)) * canvas.width + std::abs(back(i, 1)) * canvas.height +
               std::abs(back(i, 2)) <
           kFarthest;
  };
  return HasGridSamples(image) && is_near(0) && is_near(1);
}

SampledRows::SampledRows(const cv::Mat& image, const cv::Matx23d& transform, const cv::Rect& part)
    : image_(image), part_(part), back_(Inverse(transform)) {
  CV_Assert(image.cols <= kLongestSampledSide && image.rows <= kLongestSampledSide);
  steps_.create(2, part.width, CV_32S);
  for (int row = 0; row < 2; ++row) {
    int* steps = steps_.ptr<int>(row);
    for (int j = 0; j < part.width; ++j) {
      steps[j] = cv::saturate_cast<int>(back_(row, 0) * (part.x + j) * kPixel);
    }
  }
}

void SampledRows::KeepApartFrom(const cv::Mat& result) {
  if (SharesPixels(result, image_)) {
    image_ = image_.clone();
  }
}

// Rounded to a 32nd, as half of it is added.
GridRow SampledRows::SourceOf(int row) const {
  const int y = part_.y + row;
  const auto start = [&](int i) {
    return cv::saturate_cast<int>((back_(i, 1) * y + back_(i, 2)) * kPixel) + k32nd / 2;
  };
  return {steps_.ptr<int>(0), steps_.ptr<int>(1), start(0), start(1)};
}

Columns SampledRows::Reached(const GridRow& source) const {
  const Columns in_x =
      Within(source.x, source.x_steps, back_(0, 0), part_.x, part_.width, image_.cols);
  const Columns in_y =
      Within(source.y, source.y_steps, back_(1, 0), part_.x, part_.width, image_.rows);
  const int first = std::max(in_x.first, in_y.first);
  return {first, std::max(first, std::min(in_x.last, in_y.last))};
}

void SampledRows::Write(const GridRow& source, Columns reached, double around, void* row) const {
  WriteGridRow(image_, source, reached, part_.width, around, row);
}

}  // namespace KELRA
