#include "frame/region_rows.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <variant>

#include "frame/row_engine.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

bool HasInsidePixel(const cv::Mat& mask, int row) {
  return std::memchr(mask.ptr(row), 255, static_cast<std::size_t>(mask.cols)) != nullptr;
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
  ForEachRowRange(mask.rows, tbbup::PixelBytes(mask), [&](const RowRange& range) {
    for (int row = range.begin(); row < range.end() && !found; ++row) {
      if ((row < rows.start || row >= rows.end) && HasInsidePixel(mask, row)) {
        found = true;
      }
    }
  });
  return !found;
}

void BringBackOutside(const cv::Mat& input, const cv::Mat& mask, cv::Range rows, cv::Mat* result) {
  CV_Assert(mask.size() == input.size());
  ForEachRowRange(input.rows, 2 * tbbup::PixelBytes(input), [&](const RowRange& range) {
    const int begin = std::clamp(rows.start, range.begin(), range.end());
    const int end = std::clamp(rows.end, begin, range.end());
    CopyPlainRows(input, range.begin(), begin, result);
    if (begin < end) {
      const cv::Mat outside = 255.0 - mask.rowRange(begin, end);
      cv::Mat to = result->rowRange(begin, end);
      input.rowRange(begin, end).copyTo(to, outside);
    }
    CopyPlainRows(input, end, range.end(), result);
  });
}

}  // namespace KELRA
