#include "frame/region_rows.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <variant>

#include "frame/row_engine.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

constexpr int kInside = 255;

// Reading alone takes a thread longer than waking another one only for so much.
constexpr std::size_t kSerialMaskBytes = std::size_t{2} * 1024 * 1024;

bool HasInsidePixel(const cv::Mat& mask, int row) {
  return std::memchr(mask.ptr(row), kInside, static_cast<std::size_t>(mask.cols)) != nullptr;
}

// The first column from `column` on that is fully inside, or not; `columns` when there is none.
int NextInside(const std::uint8_t* mask, int column, int columns) {
  const void* found =
      std::memchr(mask + column, kInside, static_cast<std::size_t>(columns - column));
  return found == nullptr ? columns
                          : static_cast<int>(static_cast<const std::uint8_t*>(found) - mask);
}

int NextOutside(const std::uint8_t* mask, int column, int columns) {
  constexpr int kWord = sizeof(std::uint64_t);
  for (; column + kWord <= columns; column += kWord) {
    std::uint64_t word;
    std::memcpy(&word, mask + column, sizeof(word));
    if (word != ~std::uint64_t{0}) {
      break;
    }
  }
  while (column < columns && mask[column] == kInside) {
    ++column;
  }
  return column;
}

// Copies the pixels of a row that are not fully inside. Regions have few runs in a row: copying
// the gaps takes a fraction of looking at every pixel.
void CopyGaps(const std::uint8_t* from, const std::uint8_t* mask, int columns,
              std::size_t pixel_bytes, std::uint8_t* to) {
  for (int column = 0; column < columns;) {
    const int inside = NextInside(mask, column, columns);
    const std::size_t offset = static_cast<std::size_t>(column) * pixel_bytes;
    const std::size_t bytes = static_cast<std::size_t>(inside - column) * pixel_bytes;
    std::memcpy(to + offset, from + offset, bytes);
    column = NextOutside(mask, inside, columns);
  }
}

// The rows [begin, end).
void CopyPlainRows(const cv::Mat& input, int begin, int end, cv::Mat* result) {
  if (begin < end) {
    cv::Mat to = result->rowRange(begin, end);
    input.rowRange(begin, end).copyTo(to);
  }
}

}  // namespace

cv::Range RowsWithRuns(const KelROI& roi, int height) {
  const auto* region = std::get_if<KelRegion>(&roi.Shape());
  cv::Range rows(height, 0);
  if (region != nullptr) {
    for (const KelRun& run : region->Runs()) {
      if (run.row >= 0 && run.row < height) {
        rows.start = std::min(rows.start, run.row);
        rows.end = std::max(rows.end, run.row + 1);
      }
    }
  }
  return rows.start < rows.end ? rows : cv::Range(0, height);
}

bool CoversOnly(const cv::Mat& mask, cv::Size size, cv::Range rows) {
  if (mask.dims > 2 || mask.size() != size || mask.type() != CV_8UC1) {
    return false;
  }
  std::atomic<bool> found = false;
  ForEachRowRange(
      mask.rows, tbbup::PixelBytes(mask),
      [&](const RowRange& range) {
        for (int row = range.begin(); row < range.end() && !found; ++row) {
          if ((row < rows.start || row >= rows.end) && HasInsidePixel(mask, row)) {
            found = true;
          }
        }
      },
      kSerialMaskBytes);
  return !found;
}

void BringBackOutside(const cv::Mat& input, const cv::Mat& mask, cv::Range rows, cv::Mat* result) {
  CV_Assert(mask.dims <= 2 && mask.size() == input.size() && mask.type() == CV_8UC1);
  ForEachRowRange(input.rows, 2 * tbbup::PixelBytes(input), [&](const RowRange& range) {
    const int begin = std::clamp(rows.start, range.begin(), range.end());
    const int end = std::clamp(rows.end, begin, range.end());
    CopyPlainRows(input, range.begin(), begin, result);
    for (int row = begin; row < end; ++row) {
      CopyGaps(input.ptr(row), mask.ptr(row), input.cols, input.elemSize(), result->ptr(row));
    }
    CopyPlainRows(input, end, range.end(), result);
  });
}

}  // namespace KELRA
