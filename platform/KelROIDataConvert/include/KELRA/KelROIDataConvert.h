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
inline constexpr KelLong KEL_ROI_ERR_MEMORY = 13000006;   // the result does not fit in memory

// Which pixels a shape covers: see KelROI; the whole image counts as the shape of all its pixels.
//
// Every method reads and writes images of any depth and channel count, also parts of larger
// matrices. The result is a new matrix unless told otherwise, so the output may be one of the
// inputs or share memory with it; after a failure it is as the caller passed it. Nothing is thrown.
// Statuses, in the order of the checks: KEL_ROI_ERR_OUTPUT, KEL_ROI_ERR_IMAGE, KEL_ROI_ERR_KIND,
// KEL_ROI_ERR_OUTSIDE, KEL_ROI_ERR_PART; KEL_ROI_ERR_MEMORY whenever an allocation fails. An object
// has no state: calls may run concurrently on one.
class KELROIDATACONVERT_API KelROIDataConvert {
 public:
  KelROIDataConvert();
  ~KelROIDataConvert();

  // Cuts the shape's bounding box out of `image`: the smallest upright one around the pixels of the
  // image that the shape covers. Samples of the box outside the shape become `fill`, cut to the
  // range of the depth (NaN gives 0), or keep the image's values when `clip` is 0. An output that
  // holds no rows of `image`, cv::Mat(0, image.cols, image.type(), image.data, image.step), becomes
  // that part of `image` itself: nothing is copied, and nothing filled.
  KelLong ROIImageExtraction(cv::Mat& image, KelROI& roi, cv::Mat* out, int clip, double fill);

  // Writes a copy of `image` into `out` in which the pixels inside the shape come from `part`, a
  // matrix of the size that the extraction returns and of the image's type; with `masked` 0 the
  // whole box comes from it. An output of the image's size and type that lies apart from both is
  // written in place; so is one that hides all its rows, in which `part` may lie where it belongs:
  // adjustROI(0, -rows, 0, 0), and SUBMATRIX_FLAG. Whatever else is done to such an empty matrix
  // gives it other memory, so an implementation that knows nothing of this overwrites no part.
  KelLong ROIImageRestore(cv::Mat& image, cv::Mat& part, KelROI& roi, cv::Mat* out, int masked);

  // Writes an 8-bit mask of the image's size: 255 inside the shape and 0 outside, the other way
  // round with `inverted` not 0. With `filled` 0 only the shape's rim counts as inside: its pixels
  // of which one of the four neighbours is not in the shape or not in the image. An output of no
  // rows and no memory that has the mask's columns and type, cv::Mat(0, image.cols, CV_8UC1), may
  // become a mask that others have too: it must only be read. The next one for a shape is then
  // often there already.
  KelLong GenMaskImage(cv::Mat& image, KelROI& roi, cv::Mat* mask, int filled, int inverted);
};

}  // namespace KELRA
