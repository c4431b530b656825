// ImageFill.

#include <opencv2/imgproc.hpp>
#include <utility>
#include <vector>

#include "KELRA/KelDataConvert.h"
#include "KELRA/KelImageOperation.h"
#include "KELRA/KelRLC.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/load_time_state.h"

namespace KELRA {
namespace {

constexpr std::size_t kMostContours = 10000;
constexpr uchar kWhite = 255;

// The contours of an image and how they lie in each other.
class Contours {
 public:
  Status Find(KelImage& image) {
    KELRA_RETURN_IF_ERROR(KelRLC::FindContours(image, &points_, &starts_, &hierarchy_));
    if (starts_.size() < 2 || hierarchy_.empty()) {
      return ERR_FILL_NO_CONTOUR;
    }
    return hierarchy_.size() <= kMostContours ? STATUS_OK : ERR_COUNT_LIMIT;
  }

  // Calls `visit` with every top-level contour: the objects.
  template <class Visit>
  void ForEachObject(Visit visit) const {
    ForEachSibling(0, visit);
  }

  // Calls `visit` with every contour directly below those: the holes.
  template <class Visit>
  void ForEachHole(Visit visit) const {
    ForEachObject([&](int object) {
      constexpr int kFirstChild = 2;
      ForEachSibling(hierarchy_[static_cast<std::size_t>(object)][kFirstChild], visit);
    });
  }

  // Paints the contour and everything inside it white.
  void PaintFilled(int contour, cv::Mat* image) const {
    const auto index = static_cast<std::size_t>(contour);
    const cv::Point* points = points_.data() + starts_[index];
    const int count = starts_[index + 1] - starts_[index];
    if (count > 0) {
      cv::fillPoly(*image, &points, &count, 1, cv::Scalar(kWhite));
    }
  }

 private:
  // Whether there is such a contour: the contours come from a library that can be replaced.
  bool Exists(int contour) const {
    const auto index = static_cast<std::size_t>(contour);
    return contour >= 0 && index < hierarchy_.size() && index + 1 < starts_.size();
  }

  template <class Visit>
  void ForEachSibling(int contour, Visit visit) const {
    for (; Exists(contour); contour = hierarchy_[static_cast<std::size_t>(contour)][0]) {
      visit(contour);
    }
  }

  std::vector<cv::Point> points_;
  std::vector<int> starts_;
  std::vector<cv::Vec4i> hierarchy_;
};

// The contours of the objects cover the holes in them and all that lies in those.
void FillHoles(const Contours& contours, cv::Mat* image) {
  contours.ForEachObject([&](int object) { contours.PaintFilled(object, image); });
}

// White on the holes alone: what their contours cover, less the objects.
cv::Mat HolesOf(const Contours& contours, const cv::Mat& image) {
  cv::Mat holes = cv::Mat::zeros(image.size(), CV_8UC1);
  contours.ForEachHole([&](int hole) { contours.PaintFilled(hole, &holes); });
  holes.setTo(cv::Scalar(0), image);
  return holes;
}

}  // namespace

KelLong KelImageOperation::ImageFill(KelImage& src, KelROI& roi, bool holesOnly, KelImage* dst) {
  CallLog log(log_lines::kImageFill);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  if (src.BitDepth() != KEL_8U) {
    return ERR_BIT_DEPTH;
  }
  if (src.Channels() > 1) {
    return ERR_NOT_SINGLE_CHANNEL;
  }
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));

  const bool whole = roi.ROIType() == KEL_ROI_WHOLE_IMAGE;
  KelImage work;
  if (whole) {
    work = src.DeepCopy();
  } else {
    KELRA_RETURN_IF_ERROR(
        RegionConverter().ROIImageExtraction(src.Mat(), roi, &work.Mat(), 1, 0.0));
  }
  Contours contours;
  KELRA_RETURN_IF_ERROR(contours.Find(work));
  if (holesOnly) {
    work.Mat() = HolesOf(contours, work.Mat());
  } else {
    FillHoles(contours, &work.Mat());
  }
  cv::Mat result = work.Mat();
  if (!whole) {
    cv::Mat restored;
    KELRA_RETURN_IF_ERROR(RegionConverter().ROIImageRestore(src.Mat(), result, roi, &restored, 1));
    result = std::move(restored);
  }
  dst->Mat() = result;
  log.Exit();
  return STATUS_OK;
}

KelLong KelImageOperation::ImageFill(KelRegion& src, KelROI& roi, bool holesOnly, KelRegion* dst) {
  CallLog log(log_lines::kRegionFill);
  KelImage image;
  // A region without pixels leaves the image empty, which the filling answers.
  static_cast<void>(KelDataConvert::KelRegionToImage(src, &image));
  KelImage filled;
  const Status status = ImageFill(image, roi, holesOnly, &filled);
  if (status.ok()) {
    KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  }
  static_cast<void>(KelDataConvert::KelImageToRegion(filled, dst));
  log.Exit();
  return status;
}

}  // namespace KELRA
