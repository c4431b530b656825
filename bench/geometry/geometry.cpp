#include <opencv2/imgproc.hpp>
#include <vector>

#include "side_by_side.h"

namespace KELRA::bench {
namespace {

// A slight turn with some shear, as an alignment would give.
std::vector<cv::Point2f> From(const cv::Mat& image, int count) {
  const auto width = static_cast<float>(image.cols);
  const auto height = static_cast<float>(image.rows);
  std::vector<cv::Point2f> points = {{0, 0}, {width, 0}, {0, height}, {width, height}};
  points.resize(static_cast<std::size_t>(count));
  return points;
}

std::vector<cv::Point2f> To(const cv::Mat& image, int count) {
  const auto width = static_cast<float>(image.cols);
  const auto height = static_cast<float>(image.rows);
  std::vector<cv::Point2f> points = {{0.05F * width, 0.02F * height},
                                     {0.97F * width, 0.06F * height},
                                     {0.01F * width, 0.95F * height},
                                     {0.95F * width, 0.99F * height}};
  points.resize(static_cast<std::size_t>(count));
  return points;
}

KelPointArray Points(const std::vector<cv::Point2f>& points) {
  KelPointArray array;
  for (const cv::Point2f& point : points) {
    array.Append({point.x, point.y});
  }
  return array;
}

cv::Point2f Center(const cv::Mat& image) {
  return {static_cast<float>(image.cols / 2), static_cast<float>(image.rows / 2)};
}

}  // namespace

void RegisterGeometry() {
  Register(
      {"Transpose",
       [](KelImageOperation& op, KelImage& src, KelImage* dst) { return op.Transpose(src, dst); },
       [](const cv::Mat& src, cv::Mat* dst) { cv::transpose(src, *dst); }});
  Register({"Affine",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              KelPointArray from = Points(From(src.Mat(), 3));
              KelPointArray to = Points(To(src.Mat(), 3));
              return op.Affine(src, dst, from, to);
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              cv::warpAffine(src, *dst, cv::getAffineTransform(From(src, 3), To(src, 3)),
                             src.size());
            }});
  Register({"Perspective",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              KelPointArray from = Points(From(src.Mat(), 4));
              KelPointArray to = Points(To(src.Mat(), 4));
              return op.Perspective(src, dst, from, to);
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              cv::warpPerspective(src, *dst, cv::getPerspectiveTransform(From(src, 4), To(src, 4)),
                                  src.size());
            }});
  Register({"AddBorder 16",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.AddBorder(src, dst, 16, 16, 16, 16, KelColorRGBA{200, 100, 50, 0});
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              cv::copyMakeBorder(src, *dst, 16, 16, 16, 16, cv::BORDER_CONSTANT,
                                 cv::Scalar(50, 100, 200));
            }});
  Register({"Warp",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              const cv::Point2f center = Center(src.Mat());
              return op.Warp(src, dst, center.x, center.y);
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              cv::warpPolar(src, *dst, src.size(), Center(src), src.cols,
                            cv::INTER_LINEAR | cv::WARP_FILL_OUTLIERS);
            }});
  Register({"Unwarp",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              const cv::Point2f center = Center(src.Mat());
              return op.Unwarp(src, dst, center.x, center.y, 0, 360, 0, src.Width());
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              cv::warpPolar(src, *dst, src.size(), Center(src), src.cols,
                            cv::INTER_LINEAR | cv::WARP_FILL_OUTLIERS | cv::WARP_INVERSE_MAP);
            }});
}

}  // namespace KELRA::bench
