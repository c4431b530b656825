#include <cstdint>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "regions.h"
#include "side_by_side.h"

namespace KELRA::bench {
namespace {

// Blobs with holes in them, some thousand on the largest image.
cv::Mat Blobs(cv::Size size, int) {
  cv::Mat coarse(size.height / 24 + 2, size.width / 24 + 2, CV_8UC1);
  cv::RNG random(20);
  random.fill(coarse, cv::RNG::UNIFORM, 0, 256);
  cv::Mat blobs;
  cv::resize(coarse, blobs, size, 0, 0, cv::INTER_CUBIC);
  cv::Mat objects = blobs > 120;
  objects.at<std::uint8_t>(size.height / 2, size.width / 2) = 255;
  return objects;
}

void FillByOpenCv(const cv::Mat& image, bool holes_only, cv::Mat* dst) {
  std::vector<std::vector<cv::Point>> contours;
  std::vector<cv::Vec4i> hierarchy;
  cv::findContours(image, contours, hierarchy, cv::RETR_CCOMP, cv::CHAIN_APPROX_SIMPLE);
  if (holes_only) {
    dst->create(image.size(), CV_8UC1);
    dst->setTo(0);
    for (int i = 0; i < static_cast<int>(contours.size()); ++i) {
      if (hierarchy[static_cast<std::size_t>(i)][3] >= 0) {
        cv::drawContours(*dst, contours, i, cv::Scalar(255), cv::FILLED);
      }
    }
  } else {
    image.copyTo(*dst);
    cv::drawContours(*dst, contours, -1, cv::Scalar(255), cv::FILLED);
    for (int i = 0; i < static_cast<int>(contours.size()); ++i) {
      if (hierarchy[static_cast<std::size_t>(i)][3] >= 0) {
        cv::drawContours(*dst, contours, i, cv::Scalar(255), cv::FILLED);
      }
    }
  }
}

void PaintRuns(const KelRegion& region, cv::Mat* image) {
  *image = cv::Mat::zeros(region.Height(), region.Width(), CV_8UC1);
  for (const KelRun& run : region.Runs()) {
    image->row(run.row).colRange(run.firstColumn, run.lastColumn + 1).setTo(255);
  }
}

// A run-length region filled: OpenCV knows images only.
Calls FillRegion(cv::Size size, const char* roi) {
  struct On {
    KelImageOperation op;
    KelRegion objects;
    KelRegion our_dst;
    KelRegion opencv_dst;
    cv::Mat image;
    cv::Mat filled;
  };
  const auto on = std::make_shared<On>();
  on->objects = RunsOf(Blobs(size, CV_8UC1));
  const auto region = RegionOn(size, roi);
  return {[=] { return on->op.ImageFill(on->objects, region->roi, false, &on->our_dst); },
          [=] {
            PaintRuns(on->objects, &on->image);
            const cv::Mat part = on->image(region->box);
            FillByOpenCv(part, false, &on->filled);
            on->filled.copyTo(part, region->mask);
            on->opencv_dst = RunsOf(on->image);
          }};
}

void RegisterRegionFilling(const char* roi) {
  const auto make = [roi](cv::Size size, int) { return FillRegion(size, roi); };
  Register(CallsSideBySide{"ImageFill of runs", make, 2, {CV_8UC1}, roi});
}

}  // namespace

void RegisterHoleFilling() {
  for (const bool holes_only : {false, true}) {
    Register(
        {holes_only ? "ImageFill holes only" : "ImageFill",
         [holes_only](KelImageOperation& op, KelImage& image, KelROI& roi, KelImage* dst) {
           return op.ImageFill(image, roi, holes_only, dst);
         },
         [holes_only](const cv::Mat& image, cv::Mat* dst) { FillByOpenCv(image, holes_only, dst); },
         {CV_8UC1},
         Blobs});
  }
  RegisterRegionFilling(kWhole);
  for (const char* roi : kPartialRegions) {
    RegisterRegionFilling(roi);
  }
}

}  // namespace KELRA::bench
