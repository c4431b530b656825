#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <utility>
#include <vector>

#include "KELRA/KelDataConvert.h"
#include "foreground_runs.h"

namespace KELRA {
namespace {

// Runs `work`, which fails only for want of memory: OpenCV and the standard library throw then.
template <class Work>
KelLong WithoutExceptions(Work work) {
  try {
    work();
    return 0;
  } catch (const std::exception&) {
    return KEL_CONVERT_ERR_MEMORY;
  }
}

// Marks the pixels of one row of which any sample is not 0. Negative zero is 0, NaN is not.
template <class Sample>
void MarkForeground(const uchar* row, int width, int channels, std::uint8_t* marks) {
  const auto* sample = reinterpret_cast<const Sample*>(row);
  for (int column = 0; column < width; ++column) {
    bool any = false;
    for (int channel = 0; channel < channels; ++channel) {
      any |= *sample++ != Sample(0);
    }
    marks[column] = any ? 1 : 0;
  }
}

// A half-precision number is 0 when nothing but its sign is set.
void MarkHalfForeground(const uchar* row, int width, int channels, std::uint8_t* marks) {
  const auto* sample = reinterpret_cast<const std::uint16_t*>(row);
  for (int column = 0; column < width; ++column) {
    int any = 0;
    for (int channel = 0; channel < channels; ++channel) {
      any |= *sample++ & 0x7FFF;
    }
    marks[column] = any != 0 ? 1 : 0;
  }
}

using RowMarker = void (*)(const uchar* row, int width, int channels, std::uint8_t* marks);

RowMarker MarkerOf(int depth) {
  switch (depth) {
    case CV_8U:
    case CV_8S:
      return MarkForeground<std::uint8_t>;
    case CV_16U:
    case CV_16S:
      return MarkForeground<std::uint16_t>;
    case CV_32S:
      return MarkForeground<std::int32_t>;
    case CV_32F:
      return MarkForeground<float>;
    case CV_64F:
      return MarkForeground<double>;
    default:
      return MarkHalfForeground;
  }
}

}  // namespace

KelLong KelDataConvert::KelRegionToImage(KelRegion& region, KelImage* image) {
  if (image == nullptr) {
    return KEL_CONVERT_ERR_OUTPUT;
  }
  if (region.Width() == 0 || region.Height() == 0) {
    return KEL_CONVERT_ERR_EMPTY;
  }
  return WithoutExceptions([&] {
    cv::Mat grid(region.Height(), region.Width(), CV_8UC1, cv::Scalar(0));
    for (const KelRun& run : region.Runs()) {
      const int first = std::max(run.firstColumn, 0);
      const int last = std::min(run.lastColumn, grid.cols - 1);
      if (run.row >= 0 && run.row < grid.rows && first <= last) {
        std::memset(grid.ptr(run.row, first), 255,
                    static_cast<std::size_t>(last) + 1 - static_cast<std::size_t>(first));
      }
    }
    image->Mat() = grid;
  });
}

KelLong KelDataConvert::KelImageToRegion(KelImage& image, KelRegion* region) {
  if (region == nullptr) {
    return KEL_CONVERT_ERR_OUTPUT;
  }
  const cv::Mat& mat = image.Mat();
  if (mat.empty() || mat.dims > 2) {
    return KEL_CONVERT_ERR_EMPTY;
  }
  return WithoutExceptions([&] {
    KelRegion found(mat.cols, mat.rows);
    // Pixels of one byte are their own marks.
    const bool needs_marks = mat.elemSize() > 1;
    std::vector<std::uint8_t> marks(needs_marks ? static_cast<std::size_t>(mat.cols) : 0);
    const RowMarker mark = MarkerOf(mat.depth());
    for (int row = 0; row < mat.rows; ++row) {
      if (needs_marks) {
        mark(mat.ptr(row), mat.cols, mat.channels(), marks.data());
      }
      ForEachForegroundRun(needs_marks ? marks.data() : mat.ptr(row), mat.cols,
                           [&](int first, int last) {
                             found.Append({row, first, last});
                           });
    }
    *region = std::move(found);
  });
}

}  // namespace KELRA
