// How the row bodies see matrices: as rows of samples for the kernels.
#pragma once

#include <opencv2/core.hpp>

#include "frame/cache_size.h"
#include "frame/kernels/row_kernels.h"
#include "frame/row_engine.h"

namespace KELRA::tbbup {

// A header of some rows that does not count as a reference to the pixels.
inline cv::Mat HeaderOfRows(const cv::Mat& mat, const RowRange& rows) {
  return cv::Mat(static_cast<int>(rows.size()), mat.cols, mat.type(),
                 mat.data + mat.step[0] * static_cast<std::size_t>(rows.begin()), mat.step[0]);
}

template <class Sample>
kernels::Rows<Sample> RowsOf(const cv::Mat& mat, const RowRange& rows) {
  return {
      reinterpret_cast<Sample*>(mat.data + mat.step[0] * static_cast<std::size_t>(rows.begin())),
      static_cast<std::ptrdiff_t>(mat.step[0])};
}

inline std::size_t RowBytes(const cv::Mat& mat) {
  return static_cast<std::size_t>(mat.cols) * mat.elemSize();
}

inline std::size_t PixelBytes(const cv::Mat& mat) {
  return static_cast<std::size_t>(mat.rows) * RowBytes(mat);
}

// Whether to bypass the caches: the images exceed them, and the output is not in them by being an
// input.
template <class... Inputs>
bool ShouldStream(const cv::Mat& output, const Inputs&... inputs) {
  return ((output.data != inputs.data) && ...) &&
         ExceedsCaches((PixelBytes(output) + ... + PixelBytes(inputs)));
}

// Both rounding alike, the whole row counts as blocks.
inline kernels::Extent BlocksOnly(const cv::Mat& input, const RowRange& rows) {
  const std::ptrdiff_t samples = static_cast<std::ptrdiff_t>(input.cols) * input.channels();
  return {static_cast<std::ptrdiff_t>(rows.size()), samples, samples};
}

// Rows without a tail that follow each other without a gap are one long row.
template <class... Inputs>
kernels::Extent Optimized(kernels::Extent extent, const cv::Mat& output, const Inputs&... inputs) {
  if (extent.blocks == extent.samples && output.isContinuous() && (inputs.isContinuous() && ...)) {
    extent = {1, extent.rows * extent.samples, extent.rows * extent.samples};
  }
  extent.streaming = ShouldStream(output, inputs...);
  return extent;
}

}  // namespace KELRA::tbbup
