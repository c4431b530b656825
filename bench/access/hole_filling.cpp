#include <opencv2/imgproc.hpp>

#include "side_by_side.h"

namespace KELRA::bench {
namespace {

// Blobs with holes in them, some thousand on the largest image.
cv::Mat Blobs(cv::Size size, int, int) {
  cv::Mat coarse(size.height / 24 + 2, size.width / 24 + 2, CV_8UC1);
  cv::RNG random(20);
  random.fill(coarse, cv::RNG::UNIFORM, 0, 256);
  cv::Mat blobs;
  cv::resize(coarse, blobs, size, 0, 0, cv::INTER_CUBIC);
  return blobs > 120;
}

void FillByOpenCv(const cv::Mat& image, bool holes_only, cv::Mat* dst) {
  std::vector<std::vector<cv::Point>> contours;
  std::vector<cv::Vec4i> hierarchy;
  cv::findContours(image, contours, hierarchy, cv::RETR_CCOMP, cv::CHAIN_APPROX_SIMPLE);
  if (holes_only) {
    *dst = cv::Mat::zeros(image.size(), CV_8UC1);
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

}  // namespace

void RegisterHoleFilling() {
  static KelROI whole;
  for (const bool holes_only : {false, true}) {
    Register(SeveralSideBySide{
        holes_only ? "ImageFill holes only" : "ImageFill",
        1,
        [holes_only](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
          return op.ImageFill(images[0], whole, holes_only, dst);
        },
        [holes_only](const std::vector<cv::Mat>& images, cv::Mat* dst) {
          FillByOpenCv(images[0], holes_only, dst);
        },
        {CV_8UC1},
        Blobs});
  }
}

}  // namespace KELRA::bench
