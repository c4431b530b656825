// Cuts regions of interest out of images, puts them back, and makes masks of them.
#pragma once

#include <opencv2/core.hpp>

#include "KELRA/KelBase.h"
#include "KELRA/KelData.h"

#if defined(KelROIDataConvert_EXPORTS)
#define KELROIDATACONVERT_API KELRA_EXPORT
#else
#define KELROIDATACONVERT_API KELRA_IMPORT
#endif

namespace KELRA {

// Statuses of this library.
inline constexpr KelLong KEL_ROI_ERR_IMAGE = 13000001;    // the image is empty
inline constexpr KelLong KEL_ROI_ERR_KIND = 13000002;     // the kind has no geometry
inline constexpr KelLong KEL_ROI_ERR_OUTSIDE = 13000003;  // the shape covers no pixel of the image
inline constexpr KelLong KEL_ROI_ERR_PART = 13000004;     // the part does not fit the shape's box
inline constexpr KelLong KEL_ROI_ERR_OUTPUT = 13000005;   // the output pointer is null

class KELROIDATACONVERT_API KelROIDataConvert {
 public:
  KelROIDataConvert();
  ~KelROIDataConvert();

  // Cuts the shape's bounding box out of `image`, itself cut at the image's edges; pixels of the
  // box outside the shape become `fill`, or keep the image's values when `clip` is 0. `out` owns
  // its pixels.
  KelLong ROIImageExtraction(cv::Mat& image, KelROI& roi, cv::Mat* out, int clip, double fill);

  // Writes a copy of `image` into `out` in which the pixels inside the shape come from `part`, a
  // matrix of the size that the extraction returns and of the image's type; with `masked` 0 the
  // whole box comes from it. `out` may be `image`.
  KelLong ROIImageRestore(cv::Mat& image, cv::Mat& part, KelROI& roi, cv::Mat* out, int masked);

  // Writes an 8-bit mask of the image's size: 255 inside the shape and 0 outside, the other way
  // round with `inverted` not 0. With `filled` 0 only the shape's rim counts as inside: its pixels
  // of which one of the four neighbours is not in the shape or not in the image.
  KelLong GenMaskImage(cv::Mat& image, KelROI& roi, cv::Mat* mask, int filled, int inverted);
};

}  // namespace KELRA
