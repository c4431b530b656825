// The checks that methods put together, each in its own order. Each asks an image for its matrix; a
// method with many checks on one image asks once and checks the matrix.
#pragma once

#include "KELRA/KelData.h"
#include "frame/status.h"

namespace KELRA {

inline bool IsSupportedDepth(int depth) { return (depth & ~KEL_16U) == 0; }
inline bool HasOneOrThreeChannels(const cv::Mat& mat) { return (mat.type() & 0xFE8) == 0; }

// The largest sample of a supported depth.
inline int LargestSample(int depth) { return depth == KEL_8U ? 255 : 65535; }

// ERR_IMAGE_EMPTY: width times height is 0, or the matrix has more than two dimensions.
inline Status CheckNotEmpty(const cv::Mat& mat) {
  const bool has_pixels = mat.dims <= 2 && mat.data != nullptr && mat.rows > 0 && mat.cols > 0;
  return has_pixels ? STATUS_OK : ERR_IMAGE_EMPTY;
}
inline Status CheckNotEmpty(const KelImage& image) { return CheckNotEmpty(image.Mat()); }

// ERR_BIT_DEPTH: neither 8-bit nor 16-bit unsigned.
inline Status CheckBitDepth(const cv::Mat& mat) {
  return IsSupportedDepth(mat.depth()) ? STATUS_OK : ERR_BIT_DEPTH;
}
inline Status CheckBitDepth(const KelImage& image) { return CheckBitDepth(image.Mat()); }

// ERR_DEPTH_MISMATCH: samples of different types.
inline Status CheckSameDepth(const cv::Mat& first, const cv::Mat& second) {
  return first.depth() == second.depth() ? STATUS_OK : ERR_DEPTH_MISMATCH;
}
inline Status CheckSameDepth(const KelImage& first, const KelImage& second) {
  return CheckSameDepth(first.Mat(), second.Mat());
}

// ERR_CHANNEL_COUNT: neither one nor three channels.
inline Status CheckChannels(const cv::Mat& mat) {
  return HasOneOrThreeChannels(mat) ? STATUS_OK : ERR_CHANNEL_COUNT;
}
inline Status CheckChannels(const KelImage& image) { return CheckChannels(image.Mat()); }

// ERR_ROI_TYPE: a kind of region that has no area.
inline Status CheckRegionKind(const KelROI& roi) {
  switch (roi.ROIType()) {
    case KEL_ROI_RECTANGLE:
    case KEL_ROI_POLYGON:
    case KEL_ROI_ROTATED_RECTANGLE:
    case KEL_ROI_ANNULUS:
    case KEL_ROI_CIRCLE:
    case KEL_ROI_ELLIPSE:
    case KEL_ROI_REGION:
    case KEL_ROI_WHOLE_IMAGE:
      return STATUS_OK;
    default:
      return ERR_ROI_TYPE;
  }
}

// ERR_PARAM_1: `value` is below `smallest` or above the largest sample of the image.
inline Status CheckConstant(const cv::Mat& mat, int value, int smallest) {
  return value >= smallest && value <= LargestSample(mat.depth()) ? STATUS_OK : ERR_PARAM_1;
}
inline Status CheckConstant(const KelImage& image, int value, int smallest) {
  return CheckConstant(image.Mat(), value, smallest);
}

// ERR_WIDTH_MISMATCH, then ERR_HEIGHT_MISMATCH: two images of different sizes.
inline Status CheckSameSize(const KelImage& first, const KelImage& second) {
  if (first.Width() != second.Width()) {
    return ERR_WIDTH_MISMATCH;
  }
  return first.Height() == second.Height() ? STATUS_OK : ERR_HEIGHT_MISMATCH;
}

// ERR_CHANNEL_MISMATCH: two images of different channel counts.
inline Status CheckSameChannels(const KelImage& first, const KelImage& second) {
  return first.Channels() == second.Channels() ? STATUS_OK : ERR_CHANNEL_MISMATCH;
}

// ERR_IMAGE_EMPTY: there is nothing to write to.
inline Status CheckOutput(const void* output) {
  return output != nullptr ? STATUS_OK : ERR_IMAGE_EMPTY;
}

}  // namespace KELRA
