#include <opencv2/imgproc.hpp>

#include "side_by_side.h"

namespace KELRA::bench {
namespace {

using Images = std::vector<cv::Mat>;

using Extreme = void (*)(cv::InputArray, cv::InputArray, cv::OutputArray);

void ExtremeByOpenCv(const Images& images, Extreme extreme, cv::Mat* dst) {
  extreme(images[0], images[1], *dst);
  for (std::size_t i = 2; i < images.size(); ++i) {
    extreme(*dst, images[i], *dst);
  }
}

// The mean of all images, of what is left without the extremes where `trimmed`.
void MeanByOpenCv(const Images& images, bool trimmed, cv::Mat* dst) {
  static cv::Mat sum, smallest, largest;
  images[0].convertTo(sum, CV_32F);
  for (std::size_t i = 1; i < images.size(); ++i) {
    cv::accumulate(images[i], sum);
  }
  if (trimmed) {
    ExtremeByOpenCv(images, cv::min, &smallest);
    ExtremeByOpenCv(images, cv::max, &largest);
    cv::subtract(sum, largest, sum, cv::noArray(), CV_32F);
    cv::subtract(sum, smallest, sum, cv::noArray(), CV_32F);
  }
  const int kept = static_cast<int>(images.size()) - (trimmed ? 2 : 0);
  sum.convertTo(*dst, images[0].depth(), 1.0 / kept);
}

}  // namespace

void RegisterStatistics() {
  Register({"PixelMax", 8,
            [](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
              return op.PixelMax(images, dst);
            },
            [](const Images& images, cv::Mat* dst) { ExtremeByOpenCv(images, cv::max, dst); }},
           Work::kRowKernels);
  Register({"PixelMin", 8,
            [](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
              return op.PixelMin(images, dst);
            },
            [](const Images& images, cv::Mat* dst) { ExtremeByOpenCv(images, cv::min, dst); }},
           Work::kRowKernels);
  Register({"PixelAverage", 8,
            [](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
              return op.PixelAverage(images, dst, 0);
            },
            [](const Images& images, cv::Mat* dst) { MeanByOpenCv(images, false, dst); }},
           Work::kRowKernels);
  Register({"PixelAverage trimmed", 8,
            [](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
              return op.PixelAverage(images, dst, 3);
            },
            [](const Images& images, cv::Mat* dst) { MeanByOpenCv(images, true, dst); }},
           Work::kRowKernels);
  Register({"PixelMaxConst 60",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.PixelMaxConst(src, roi, dst, 60);
            },
            [](const cv::Mat& src, cv::Mat* dst) { cv::max(src, 60.0, *dst); }},
           Work::kRowKernels);
  Register({"PixelMinConst 60",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.PixelMinConst(src, roi, dst, 60);
            },
            [](const cv::Mat& src, cv::Mat* dst) { cv::min(src, 60.0, *dst); }},
           Work::kRowKernels);
  Register({"PixelAverageConst 60",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.PixelAverageConst(src, roi, dst, 60);
            },
            [](const cv::Mat& src, cv::Mat* dst) { src.convertTo(*dst, -1, 0.5, 30); }},
           Work::kRowKernels);
  Register({"DifferenceConst 60",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.DifferenceConst(src, roi, dst, 60);
            },
            [](const cv::Mat& src, cv::Mat* dst) { cv::absdiff(src, cv::Scalar::all(60), *dst); }},
           Work::kRowKernels);
  Register({"Difference", 2,
            [](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
              return op.Difference(images[0], images[1], dst);
            },
            [](const Images& images, cv::Mat* dst) { cv::absdiff(images[0], images[1], *dst); }},
           Work::kRowKernels);
}

}  // namespace KELRA::bench
