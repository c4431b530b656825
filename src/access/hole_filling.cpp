// ImageFill.

#include <opencv2/imgproc.hpp>
#include <vector>

#include "KELRA/KelDataConvert.h"
#include "KELRA/KelImageOperation.h"
#include "KELRA/KelRLC.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/load_time_state.h"
#include "frame/result_matrix.h"

namespace KELRA {
namespace {

constexpr std::size_t kMostContours = 10000;
constexpr int kWhite = 255;

// The contours of an image and how they lie in each other. They come from a library that can be
// replaced: links and starts may lead anywhere.
class Contours {
 public:
  Status Find(KelImage& image) {
    KELRA_RETURN_IF_ERROR(KelRLC::FindContours(image, &points_, &starts_, &hierarchy_));
    if (starts_.size() < 2 || hierarchy_.empty()) {
      return ERR_FILL_NO_CONTOUR;
    }
    return hierarchy_.size() <= kMostContours ? STATUS_OK : ERR_COUNT_LIMIT;
  }

  // Paints every top-level contour white.
  void PaintObjects(cv::Mat* image) {
    BeginPainting();
    for (int object = 0; Take(object); object = Link(object, kNext)) {
      Paint(object, image);
    }
  }

  // Paints every contour directly below those white.
  void PaintHoles(cv::Mat* image) {
    BeginPainting();
    std::vector<int> objects;
    for (int object = 0; Take(object); object = Link(object, kNext)) {
      objects.push_back(object);
    }
    for (const int object : objects) {
      for (int hole = Link(object, kFirstChild); hole > 0 && Take(hole); hole = Link(hole, kNext)) {
        Paint(hole, image);
      }
    }
  }

 private:
  enum LinkKind { kNext = 0, kFirstChild = 2 };

  int Link(int contour, LinkKind kind) const {
    return hierarchy_[static_cast<std::size_t>(contour)][kind];
  }

  void BeginPainting() { taken_.assign(hierarchy_.size(), false); }

  // Whether there is such a contour that has not been taken yet. It is now: so every walk ends.
  bool Take(int contour) {
    const auto index = static_cast<std::size_t>(contour);
    if (contour < 0 || index >= hierarchy_.size() || taken_[index]) {
      return false;
    }
    taken_[index] = true;
    return true;
  }

  // What cv::drawContours paints of a contour and all its descendants, by the even-odd rule; that
  // looks at all contours in every call.
  void Paint(int contour, cv::Mat* image) {
    lines_.clear();
    counts_.clear();
    family_.assign(1, contour);
    while (!family_.empty()) {
      const int next = family_.back();
      family_.pop_back();
      AddLine(static_cast<std::size_t>(next));
      for (int child = Link(next, kFirstChild); Take(child); child = Link(child, kNext)) {
        family_.push_back(child);
      }
    }
    if (!lines_.empty()) {
      cv::fillPoly(*image, lines_.data(), counts_.data(), static_cast<int>(lines_.size()),
                   cv::Scalar(kWhite));
    }
  }

  void AddLine(std::size_t contour) {
    if (contour + 1 >= starts_.size()) {
      return;
    }
    const int first = starts_[contour];
    const int end = starts_[contour + 1];
    if (first >= 0 && first < end && static_cast<std::size_t>(end) <= points_.size()) {
      lines_.push_back(points_.data() + first);
      counts_.push_back(end - first);
    }
  }

  std::vector<cv::Point> points_;
  std::vector<int> starts_;
  std::vector<cv::Vec4i> hierarchy_;
  std::vector<bool> taken_;
  std::vector<int> family_;
  std::vector<const cv::Point*> lines_;
  std::vector<int> counts_;
};

void FillHoles(Contours& contours, cv::Mat* image) {
  contours.PaintObjects(image);
  contours.PaintHoles(image);
}

// White on the holes alone.
void DrawHoles(Contours& contours, cv::Mat* image) {
  *image = cv::Scalar(0);  // by far faster than setTo
  contours.PaintHoles(image);
}

// The whole image is filled in the output's own matrix, once its contours are known.
Status FillWholeImage(KelImage& src, bool holes_only, KelImage* dst) {
  KelImage image = src;
  Contours contours;
  KELRA_RETURN_IF_ERROR(contours.Find(image));
  SpareMatrix fresh;
  cv::Mat& result = ResultMatrix(dst, src.Mat().size(), CV_8UC1, &fresh);
  if (holes_only) {
    DrawHoles(contours, &result);
  } else {
    SpareMatrix copy;
    InputToReadWhileWriting(result, src.Mat(), &copy).copyTo(result);
    FillHoles(contours, &result);
  }
  AssignResult(result, dst);
  return STATUS_OK;
}

Status FillPart(KelImage& src, KelROI& roi, bool holes_only, KelImage* dst) {
  KelImage part;
  KELRA_RETURN_IF_ERROR(RegionConverter().ROIImageExtraction(src.Mat(), roi, &part.Mat(), 1, 0.0));
  Contours contours;
  KELRA_RETURN_IF_ERROR(contours.Find(part));
  holes_only ? DrawHoles(contours, &part.Mat()) : FillHoles(contours, &part.Mat());
  cv::Mat restored;
  KELRA_RETURN_IF_ERROR(
      RegionConverter().ROIImageRestore(src.Mat(), part.Mat(), roi, &restored, 1));
  dst->Mat() = restored;
  return STATUS_OK;
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
  KELRA_RETURN_IF_ERROR(whole ? FillWholeImage(src, holesOnly, dst)
                              : FillPart(src, roi, holesOnly, dst));
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
