#include "frame/region_rows.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <opencv2/core/hal/intrin.hpp>
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

constexpr int kWordPixels = 64;

// Bit i tells whether pixel i is fully inside, for as many as there are and a word holds.
std::uint64_t InsideBits(const std::uint8_t* mask, std::ptrdiff_t count) {
  std::uint64_t bits = 0;
  if (count < kWordPixels) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      bits |= static_cast<std::uint64_t>(mask[i] == kInside) << i;
    }
    return bits;
  }
  const cv::v_uint8x16 inside = cv::v_setall_u8(kInside);
  for (int i = 0; i < kWordPixels; i += cv::v_uint8x16::nlanes) {
    const int lanes = cv::v_signmask(cv::v_load(mask + i) == inside);
    bits |= static_cast<std::uint64_t>(static_cast<std::uint32_t>(lanes)) << i;
  }
  return bits;
}

// Copies the pixels that are not fully inside. Regions have few runs in a row: copying the gaps
// takes a fraction of looking at every pixel.
void CopyGaps(const std::uint8_t* from, const std::uint8_t* mask, std::ptrdiff_t count,
              std::size_t pixel_bytes, std::uint8_t* to) {
  const auto copy = [=](std::ptrdiff_t begin, std::ptrdiff_t end) {
    const std::size_t offset = static_cast<std::size_t>(begin) * pixel_bytes;
    std::memcpy(to + offset, from + offset, static_cast<std::size_t>(end - begin) * pixel_bytes);
  };
  bool outside = true;
  std::ptrdiff_t gap = 0;  // where it began, while outside
  for (std::ptrdiff_t word = 0; word < count; word += kWordPixels) {
    const std::uint64_t inside = InsideBits(mask + word, count - word);
    const std::uint64_t before = inside << 1 | static_cast<std::uint64_t>(!outside);
    for (std::uint64_t changes = inside ^ before; changes != 0; changes &= changes - 1) {
      const std::ptrdiff_t pixel = word + std::countr_zero(changes);
      if (outside) {
        copy(gap, pixel);
      }
      gap = pixel;
      outside = !outside;
    }
  }
  if (outside) {
    copy(gap, count);
  }
}

void CopyRows(const cv::Mat& input, int begin, int end, bool one_line, cv::Mat* result) {
  const std::size_t row_bytes = input.elemSize() * static_cast<std::size_t>(input.cols);
  const int rows_at_once = one_line ? end - begin : 1;
  for (int row = begin; row < end; row += rows_at_once) {
    std::memcpy(result->ptr(row), input.ptr(row),
                row_bytes * static_cast<std::size_t>(rows_at_once));
  }
}

void CopyGapsOfRows(const cv::Mat& input, const cv::Mat& mask, int begin, int end, bool one_line,
                    cv::Mat* result) {
  const int rows_at_once = one_line ? end - begin : 1;
  for (int row = begin; row < end; row += rows_at_once) {
    CopyGaps(input.ptr(row), mask.ptr(row), std::ptrdiff_t{input.cols} * rows_at_once,
             input.elemSize(), result->ptr(row));
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
  // Rows that follow each other without a gap are copied as one.
  const bool one_line = input.isContinuous() && mask.isContinuous() && result->isContinuous();
  ForEachRowRange(input.rows, 2 * tbbup::PixelBytes(input), [&](const RowRange& range) {
    const int begin = std::clamp(rows.start, range.begin(), range.end());
    const int end = std::clamp(rows.end, begin, range.end());
    CopyRows(input, range.begin(), begin, one_line, result);
    CopyGapsOfRows(input, mask, begin, end, one_line, result);
    CopyRows(input, end, range.end(), one_line, result);
  });
}

}  // namespace KELRA
