#include "frame/checks.h"

namespace KELRA {

Status CheckNotEmpty(const KelImage& image) {
  const cv::Mat& mat = image.Mat();
  return mat.dims > 2 || mat.empty() ? ERR_IMAGE_EMPTY : STATUS_OK;
}

Status CheckBitDepth(const KelImage& image) {
  return IsSupportedDepth(image.BitDepth()) ? STATUS_OK : ERR_BIT_DEPTH;
}

Status CheckSameDepth(const KelImage& first, const KelImage& second) {
  return first.BitDepth() == second.BitDepth() ? STATUS_OK : ERR_DEPTH_MISMATCH;
}

Status CheckChannels(const KelImage& image) {
  return HasOneOrThreeChannels(image.Mat()) ? STATUS_OK : ERR_CHANNEL_COUNT;
}

Status CheckRegionKind(const KelROI& roi) {
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

Status CheckConstant(const KelImage& image, int value, int smallest) {
  return value >= smallest && value <= LargestSample(image.BitDepth()) ? STATUS_OK : ERR_PARAM_1;
}

Status CheckSameSize(const KelImage& first, const KelImage& second) {
  if (first.Width() != second.Width()) {
    return ERR_WIDTH_MISMATCH;
  }
  return first.Height() == second.Height() ? STATUS_OK : ERR_HEIGHT_MISMATCH;
}

Status CheckSameChannels(const KelImage& first, const KelImage& second) {
  return first.Channels() == second.Channels() ? STATUS_OK : ERR_CHANNEL_MISMATCH;
}

Status CheckOutput(const void* output) { return output != nullptr ? STATUS_OK : ERR_IMAGE_EMPTY; }

}  // namespace KELRA
