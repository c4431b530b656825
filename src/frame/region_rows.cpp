#include "frame/region_rows.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
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

constexpr std::ptrdiff_t kWordPixels = 64;

// Those of `count` pixels, fewer than a word has bits; 0 behind them.
std::uint64_t BitsOfLastPixels(const std::uint8_t* mask, std::ptrdiff_t count) {
  std::uint64_t bits = 0;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    bits |= static_cast<std::uint64_t>(mask[i] == kInside) << i;
  }
  return bits;
}

// Copies the pixels that are not fully inside. Regions have few runs in a row: copying the gaps
// takes a fraction of looking at every pixel.
class GapCopy {
 public:
  GapCopy(const std::uint8_t* from, std::size_t pixel_bytes, std::uint8_t* to)
      : from_(from), to_(to), pixel_bytes_(pixel_bytes) {}

  void Run(const std::uint8_t* mask, std::ptrdiff_t count) {
    constexpr std::ptrdiff_t kMostWords = 64;
    std::uint64_t bits[kMostWords];
    const std::ptrdiff_t words = count / kWordPixels;
    for (std::ptrdiff_t done = 0; done < words; done += kMostWords) {
      const std::ptrdiff_t some = std::min(kMostWords, words - done);
      kernels::ActiveRowKernels().bits_of_mask(mask + done * kWordPixels, some, bits);
      for (std::ptrdiff_t i = 0; i < some; ++i) {
        PassWord((done + i) * kWordPixels, bits[i]);
      }
    }
    const std::ptrdiff_t pixels = words * kWordPixels;
    PassWord(pixels, BitsOfLastPixels(mask + pixels, count - pixels));
    if (outside_) {
      CopyGapBefore(count);
    }
  }

 private:
  // The pixels from `first` on; their bits tell which are inside.
  void PassWord(std::ptrdiff_t first, std::uint64_t inside) {
    const std::uint64_t before = inside << 1 | static_cast<std::uint64_t>(!outside_);
    for (std::uint64_t changes = inside ^ before; changes != 0; changes &= changes - 1) {
      const std::ptrdiff_t pixel = first + std::countr_zero(changes);
      if (outside_) {
        CopyGapBefore(pixel);
      }
      gap_ = pixel;
      outside_ = !outside_;
    }
  }

  void CopyGapBefore(std::ptrdiff_t end) const {
    const std::size_t offset = static_cast<std::size_t>(gap_) * pixel_bytes_;
    std::memcpy(to_ + offset, from_ + offset, static_cast<std::size_t>(end - gap_) * pixel_bytes_);
  }

  const std::uint8_t* from_;
  std::uint8_t* to_;
  std::size_t pixel_bytes_;
  bool outside_ = true;
  std::ptrdiff_t gap_ = 0;  // where it began, while outside
};

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
    GapCopy(input.ptr(row), input.elemSize(), result->ptr(row))
        .Run(mask.ptr(row), std::ptrdiff_t{input.cols} * rows_at_once);
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
