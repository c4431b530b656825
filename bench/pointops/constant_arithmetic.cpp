#include "side_by_side.h"

namespace KELRA::bench {

void RegisterConstantArithmetic() {
  Register({"AddConst 40",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.AddConst(src, roi, dst, 40, 1.0F, 0.0F);
            },
            [](const cv::Mat& src, cv::Mat* dst) { cv::add(src, cv::Scalar::all(40), *dst); }},
           Work::kRowKernels);
  Register({"AddConst 40, x1.1 +3",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.AddConst(src, roi, dst, 40, 1.1F, 3.0F);
            },
            [](const cv::Mat& src, cv::Mat* dst) { src.convertTo(*dst, -1, 1.1, 40 * 1.1 + 3); }},
           Work::kRowKernels);
  Register({"SubtractConst 40",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.SubtractConst(src, roi, dst, 40, 1.0F, 0.0F);
            },
            [](const cv::Mat& src, cv::Mat* dst) { cv::subtract(src, cv::Scalar::all(40), *dst); }},
           Work::kRowKernels);
  Register({"SubtractConst 40, x1.1 +3",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.SubtractConst(src, roi, dst, 40, 1.1F, 3.0F);
            },
            [](const cv::Mat& src, cv::Mat* dst) { src.convertTo(*dst, -1, 1.1, -40 * 1.1 + 3); }},
           Work::kRowKernels);
  // OpenCV's own product and quotient by a constant; and, below, the one rounded factor by which a
  // user who knows its bytes to differ would replace them.
  Register(
      {"MultiplyConst 3, x0.7",
       [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
         return op.MultiplyConst(src, roi, dst, 3, 0.7F, 0.0F);
       },
       [](const cv::Mat& src, cv::Mat* dst) { cv::multiply(src, cv::Scalar::all(3), *dst, 0.7); }},
      Work::kRowKernels);
  Register(
      {"DivideConst 3, x2",
       [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
         return op.DivideConst(src, roi, dst, 3, 2.0F, 0.0F);
       },
       [](const cv::Mat& src, cv::Mat* dst) { cv::divide(src, cv::Scalar::all(3), *dst, 2.0); }},
      Work::kRowKernels);
  Register({"MultiplyConst 3, x0.7 +3",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.MultiplyConst(src, roi, dst, 3, 0.7F, 3.0F);
            },
            [](const cv::Mat& src, cv::Mat* dst) { src.convertTo(*dst, -1, 3 * 0.7, 3); }},
           Work::kRowKernels);
  Register({"DivideConst 3, x2 +3",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.DivideConst(src, roi, dst, 3, 2.0F, 3.0F);
            },
            [](const cv::Mat& src, cv::Mat* dst) { src.convertTo(*dst, -1, 2.0 / 3, 3); }},
           Work::kRowKernels);
}

}  // namespace KELRA::bench
