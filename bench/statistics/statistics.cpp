#include <opencv2/imgproc.hpp>

#include "side_by_side.h"

namespace KELRA::bench {
namespace {

using Images = std::vector<cv::Mat>;

// The mean of all images, of what is left without the extremes where `trimmed`.
void MeanByOpenCv(const Images& images, bool trimmed, cv::Mat* dst) {
  cv::Mat sum = cv::Mat::zeros(images[0].size(), CV_32FC(images[0].channels()));
  cv::Mat smallest;
  cv::Mat largest;
  if (trimmed) {
    smallest = images[0].clone();
    largest = images[0].clone();
  }
  for (const cv::Mat& image : images) {
    cv::accumulate(image, sum);
    if (trimmed) {
      cv::min(smallest, image, smallest);
      cv::max(largest, image, largest);
    }
  }
  if (trimmed) {
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
            [](const Images& images, cv::Mat* dst) {
              images[0].copyTo(*dst);
              for (const cv::Mat& image : images) {
                cv::max(*dst, image, *dst);
              }
            }},
           Work::kRowKernels);
  Register({"PixelMin", 8,
            [](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
              return op.PixelMin(images, dst);
            },
            [](const Images& images, cv::Mat* dst) {
              images[0].copyTo(*dst);
              for (const cv::Mat& image : images) {
                cv::min(*dst, image, *dst);
              }
            }},
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
