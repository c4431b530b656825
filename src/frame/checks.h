// The checks that methods put together, each in its own order.
#pragma once

#include "KELRA/KelData.h"
#include "frame/status.h"

namespace KELRA {

inline bool IsSupportedDepth(KelImageType depth) { return (depth & ~KEL_16U) == 0; }
inline bool HasOneOrThreeChannels(const cv::Mat& mat) { return (mat.type() & 0xFE8) == 0; }

// The largest sample of a supported depth.
inline int LargestSample(KelImageType depth) { return depth == KEL_8U ? 255 : 65535; }

// ERR_IMAGE_EMPTY: width times height is 0, or the matrix has more than two dimensions.
Status CheckNotEmpty(const KelImage& image);
// ERR_BIT_DEPTH: neither 8-bit nor 16-bit unsigned.
Status CheckBitDepth(const KelImage& image);
// ERR_DEPTH_MISMATCH: samples of different types.
Status CheckSameDepth(const KelImage& first, const KelImage& second);
// ERR_CHANNEL_COUNT: neither one nor three channels.
Status CheckChannels(const KelImage& image);
// ERR_ROI_TYPE: a kind of region that has no area.
Status CheckRegionKind(const KelROI& roi);
// ERR_PARAM_1: `value` is below `smallest` or above the largest sample of the image.
Status CheckConstant(const KelImage& image, int value, int smallest);
// ERR_WIDTH_MISMATCH, then ERR_HEIGHT_MISMATCH: two images of different sizes.
Status CheckSameSize(const KelImage& first, const KelImage& second);
// ERR_CHANNEL_MISMATCH: two images of different channel counts.
Status CheckSameChannels(const KelImage& first, const KelImage& second);
// ERR_IMAGE_EMPTY: there is nothing to write to.
Status CheckOutput(const void* output);

}  // namespace KELRA
