#include "twoimage/turned_strips.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <opencv2/core/utility.hpp>

#include "frame/result_matrix.h"

namespace KELRA {
namespace {

using kernels::GridRow;

constexpr int kPixel = 1 << GridRow::kBits;
constexpr int k32nd = kPixel / 32;

// A strip with its mask and what it is combined with.
constexpr std::size_t kStripBytes = std::size_t{16} * 1024;

// On the stack, unless a row is longer.
using StripBuffer = cv::AutoBuffer<std::uint64_t, kStripBytes / 8>;

// Sampling a pixel takes as long as moving so many bytes.
constexpr std::size_t kBytesWorthAPixel = 64;

// As OpenCV inverts it.
cv::Matx23d Inverse(const cv::Matx23f& transform) {
  const cv::Matx23d m = transform;
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
  const auto guess = [&](int value) { return (value - start) / (slope * kPixel) - first_column; };
  if (slope > 0) {
    return {FirstColumn(guess(lowest), columns, [&](int j) { return at(j) >= lowest; }),
            FirstColumn(guess(end), columns, [&](int j) { return at(j) >= end; })};
  }
  return {FirstColumn(guess(end), columns, [&](int j) { return at(j) < end; }),
          FirstColumn(guess(lowest), columns, [&](int j) { return at(j) < lowest; })};
}

// How many 32nds of a pixel at this position lie inside.
int Inside(int position, int size) {
  const int in_32nds = position >> (GridRow::kBits - 5);
  return std::clamp(std::min(in_32nds + 32, 32 * size - in_32nds), 0, 32);
}

}  // namespace

TurnedStrips::TurnedStrips(const cv::Mat& image, const Turn& turn, double around,
                           const cv::Rect& part)
    : image_(image), around_(around), part_(part), back_(Inverse(turn.transform)) {
  constexpr int kLongestSide = std::numeric_limits<short>::max() - 1;
  CV_Assert(image.cols <= kLongestSide && image.rows <= kLongestSide);
  steps_.create(2, part.width, CV_32S);
  for (int row = 0; row < 2; ++row) {
    int* steps = steps_.ptr<int>(row);
    for (int j = 0; j < part.width; ++j) {
      steps[j] = cv::saturate_cast<int>(back_(row, 0) * (part.x + j) * kPixel);
    }
  }
}

void TurnedStrips::KeepApartFrom(const cv::Mat& result) {
  if (SharesPixels(result, image_)) {
    image_ = image_.clone();
  }
}

// Rounded to a 32nd, as half of it is added.
GridRow TurnedStrips::SourceOf(int row) const {
  const int y = part_.y + row;
  const auto start = [&](int i) {
    return cv::saturate_cast<int>((back_(i, 1) * y + back_(i, 2)) * kPixel) + k32nd / 2;
  };
  return {steps_.ptr<int>(0), steps_.ptr<int>(1), start(0), start(1)};
}

Columns TurnedStrips::Reached(const GridRow& source) const {
  const Columns in_x =
      Within(source.x, source.x_steps, back_(0, 0), part_.x, part_.width, image_.cols);
  const Columns in_y =
      Within(source.y, source.y_steps, back_(1, 0), part_.x, part_.width, image_.rows);
  const int first = std::max(in_x.first, in_y.first);
  return {first, std::max(first, std::min(in_x.last, in_y.last))};
}

// The columns whose mask, a value between 255 inside and 0 outside, is not rounded to 0. Between
// two of them lies no other.
Columns TurnedStrips::Covered(const GridRow& source, Columns reached) const {
  const auto is_covered = [&](int column) {
    const int inside =
        Inside(source.X(column), image_.cols) * Inside(source.Y(column), image_.rows);
    return (255 * inside + 512) / 1024 != 0;
  };
  while (reached.first < reached.last && !is_covered(reached.first)) {
    ++reached.first;
  }
  while (reached.first < reached.last && !is_covered(reached.last - 1)) {
    --reached.last;
  }
  return reached;
}

template <class Sample>
void TurnedStrips::SampleRow(const GridRow& source, Columns reached, Sample* row) const {
  const auto& kernels = kernels::ActiveRowKernels().For<Sample>();
  const int channels = image_.channels();
  const auto on_grid =
      channels == 1 ? kernels.on_grid_of_one_channel : kernels.on_grid_of_three_channels;
  const kernels::SampledImage<Sample> image{
      {image_.ptr<Sample>(), static_cast<std::ptrdiff_t>(image_.step[0])},
      image_.rows,
      image_.cols};
  const auto around = static_cast<Sample>(around_);
  Sample* const first = row + std::ptrdiff_t{channels} * reached.first;
  Sample* const last = row + std::ptrdiff_t{channels} * reached.last;
  std::fill(row, first, around);
  on_grid(image, source.From(reached.first), reached.last - reached.first, around, first);
  std::fill(last, row + std::ptrdiff_t{channels} * part_.width, around);
}

void TurnedStrips::Fill(const RowRange& rows, cv::Mat* pixels, cv::Mat* mask) const {
  for (int row = rows.begin(); row < rows.end(); ++row) {
    const GridRow source = SourceOf(row);
    const Columns reached = Reached(source);
    const int in_strip = row - rows.begin();
    if (image_.depth() == CV_8U) {
      SampleRow(source, reached, pixels->ptr<std::uint8_t>(in_strip));
    } else {
      SampleRow(source, reached, pixels->ptr<std::uint16_t>(in_strip));
    }
    if (!mask->empty()) {
      const Columns covered = Covered(source, reached);
      std::uint8_t* const m = mask->ptr<std::uint8_t>(in_strip);
      std::fill(m, m + part_.width, std::uint8_t{0});
      std::fill(m + covered.first, m + covered.last, std::uint8_t{255});
    }
  }
}

void TurnedStrips::ForEach(bool with_mask, Work work) const {
  const auto columns = static_cast<std::size_t>(part_.width);
  const std::size_t row_bytes = image_.elemSize() * columns;
  const std::size_t bytes = kBytesWorthAPixel * static_cast<std::size_t>(part_.height) * columns;
  ForEachRowRange(part_.height, bytes, [&](const RowRange& range) {
    const std::size_t most =
        std::clamp(kStripBytes / row_bytes, std::size_t{1}, static_cast<std::size_t>(range.size()));
    StripBuffer pixel_buffer((most * row_bytes + 7) / 8);
    StripBuffer mask_buffer(with_mask ? (most * columns + 7) / 8 : 0);
    const int step = static_cast<int>(most);
    for (int first = range.begin(); first < range.end(); first += step) {
      const RowRange rows(first, std::min(first + step, range.end()));
      const int height = static_cast<int>(rows.size());
      cv::Mat pixels(height, part_.width, image_.type(), pixel_buffer.data());
      cv::Mat mask;
      if (with_mask) {
        mask = cv::Mat(height, part_.width, CV_8UC1, mask_buffer.data());
      }
      Fill(rows, &pixels, &mask);
      work(rows, pixels, mask);
    }
  });
}

}  // namespace KELRA
