// A region library of another maker's: plain copies, made with what OpenCV offers, and nothing
// known of outputs that offer memory. With FOREIGN_REGIONS_SAVE_MEMORY it takes care not to
// allocate, as far as its interface lets it: a part that needs no filling is not copied, and an
// empty output is resized.

#include <cstddef>
#include <opencv2/core.hpp>
#include <variant>

#include "KELRA/KelROIDataConvert.h"
#include "rasterize.h"

namespace KELRA {
namespace {

#if defined(FOREIGN_REGIONS_SAVE_MEMORY)
constexpr bool kSavesMemory = true;
#else
constexpr bool kSavesMemory = false;
#endif

// What the shape covers: 255 inside, and the box around it.
struct Shape {
  cv::Mat mask;
  cv::Rect box;
};

KelLong Find(const cv::Mat& image, const KelROI& roi, Shape* shape) {
  if (image.empty() || image.dims > 2) {
    return KEL_ROI_ERR_IMAGE;
  }
  if (roi.ROIType() == KEL_ROI_WHOLE_IMAGE) {
    *shape = {cv::Mat(image.size(), CV_8UC1, cv::Scalar(255)), cv::Rect({}, image.size())};
    return 0;
  }
  if (std::holds_alternative<std::monostate>(roi.Shape())) {
    return KEL_ROI_ERR_KIND;
  }
  const PixelRuns covered = Rasterize(roi.Shape(), image.size());
  shape->mask = cv::Mat::zeros(image.size(), CV_8UC1);
  for (const KelRun& run : covered.runs) {
    shape->mask.row(run.row).colRange(run.firstColumn, run.lastColumn + 1).setTo(255);
  }
  shape->box = covered.box;
  return covered.runs.empty() ? KEL_ROI_ERR_OUTSIDE : 0;
}

void MakeLike(const cv::Mat& image, cv::Mat* out) {
  if (kSavesMemory && out->dims <= 2 && out->cols == image.cols && out->type() == image.type()) {
    out->resize(static_cast<std::size_t>(image.rows));
  } else {
    *out = cv::Mat(image.size(), image.type());
  }
}

}  // namespace

KelROIDataConvert::KelROIDataConvert() = default;
KelROIDataConvert::~KelROIDataConvert() = default;

KelLong KelROIDataConvert::ROIImageExtraction(cv::Mat& image, KelROI& roi, cv::Mat* out, int clip,
                                              double fill) {
  Shape shape;
  if (const KelLong status = Find(image, roi, &shape); status != 0) {
    return status;
  }
  const cv::Mat box = image(shape.box);
  const cv::Mat mask = shape.mask(shape.box);
  if (kSavesMemory && cv::countNonZero(mask) == shape.box.area()) {
    *out = box;
    return 0;
  }
  cv::Mat part = box.clone();
  if (clip != 0) {
    part.setTo(cv::Scalar::all(fill), 255 - mask);
  }
  *out = part;
  return 0;
}

KelLong KelROIDataConvert::ROIImageRestore(cv::Mat& image, cv::Mat& part, KelROI& roi, cv::Mat* out,
                                           int masked) {
  Shape shape;
  if (const KelLong status = Find(image, roi, &shape); status != 0) {
    return status;
  }
  if (part.dims > 2 || part.size() != shape.box.size() || part.type() != image.type()) {
    return KEL_ROI_ERR_PART;
  }
  MakeLike(image, out);
  image.copyTo(*out);
  cv::Mat place = (*out)(shape.box);
  part.copyTo(place, masked != 0 ? shape.mask(shape.box) : cv::noArray());
  return 0;
}

KelLong KelROIDataConvert::GenMaskImage(cv::Mat& image, KelROI& roi, cv::Mat* mask, int,
                                        int inverted) {
  Shape shape;
  if (const KelLong status = Find(image, roi, &shape); status != 0) {
    return status;
  }
  MakeLike(shape.mask, mask);
  cv::bitwise_xor(shape.mask, cv::Scalar(inverted != 0 ? 255 : 0), *mask);
  return 0;
}

}  // namespace KELRA
