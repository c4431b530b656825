#include "twoimage/turned_strips.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <opencv2/core/utility.hpp>

#include "geometry/grid_row.h"

namespace KELRA {
namespace {

using kernels::GridRow;

// A strip with its mask and what it is combined with.
constexpr std::size_t kStripBytes = std::size_t{16} * 1024;

// On the stack, unless a row is longer.
using StripBuffer = cv::AutoBuffer<std::uint64_t, kStripBytes / 8>;

// How many 32nds of a pixel at this position lie inside.
int Inside(int position, int size) {
  const int in_32nds = position >> (GridRow::kBits - 5);
  return std::clamp(std::min(in_32nds + 32, 32 * size - in_32nds), 0, 32);
}

}  // namespace

// The columns whose mask, a value between 255 inside and 0 outside, is not rounded to 0. Between
// two of them lies no other.
Columns TurnedStrips::Covered(const GridRow& source, Columns reached) const {
  const cv::Mat& image = sampled_.Image();
  const auto is_covered = [&](int column) {
    const int inside = Inside(source.X(column), image.cols) * Inside(source.Y(column), image.rows);
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

void TurnedStrips::Fill(const RowRange& rows, cv::Mat* pixels, cv::Mat* mask) const {
  for (int row = rows.begin(); row < rows.end(); ++row) {
    const GridRow source = sampled_.SourceOf(row);
    const Columns reached = sampled_.Reached(source);
    const int in_strip = row - rows.begin();
    sampled_.Write(source, reached, around_, pixels->ptr(in_strip));
    if (!mask->empty()) {
      const Columns covered = Covered(source, reached);
      std::uint8_t* const m = mask->ptr<std::uint8_t>(in_strip);
      std::fill(m, m + mask->cols, std::uint8_t{0});
      std::fill(m + covered.first, m + covered.last, std::uint8_t{255});
    }
  }
}

void TurnedStrips::ForEach(bool with_mask, Work work) const {
  const cv::Rect& part = sampled_.Part();
  const int type = sampled_.Image().type();
  const auto columns = static_cast<std::size_t>(part.width);
  const std::size_t row_bytes = sampled_.Image().elemSize() * columns;
  const std::size_t bytes =
      kBytesWorthASampledPixel * static_cast<std::size_t>(part.height) * columns;
  ForEachRowRange(part.height, bytes, [&](const RowRange& range) {
    const std::size_t most =
        std::clamp(kStripBytes / row_bytes, std::size_t{1}, static_cast<std::size_t>(range.size()));
    StripBuffer pixel_buffer((most * row_bytes + 7) / 8);
    StripBuffer mask_buffer(with_mask ? (most * columns + 7) / 8 : 0);
    const int step = static_cast<int>(most);
    for (int first = range.begin(); first < range.end(); first += step) {
      const RowRange rows(first, std::min(first + step, range.end()));
      const int height = static_cast<int>(rows.size());
      cv::Mat pixels(height, part.width, type, pixel_buffer.data());
      cv::Mat mask;
      if (with_mask) {
        mask = cv::Mat(height, part.width, CV_8UC1, mask_buffer.data());
      }
      Fill(rows, &pixels, &mask);
      work(rows, pixels, mask);
    }
  });
}

}  // namespace KELRA
