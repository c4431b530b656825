#include "side_by_side.h"

namespace KELRA::bench {

void RegisterPointOperations() {
  Register(
      {"BitAndConst 60",
       [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
         return op.BitAndConst(src, roi, dst, 60);
       },
       [](const cv::Mat& src, cv::Mat* dst) { cv::bitwise_and(src, cv::Scalar::all(60), *dst); }},
      Work::kRowKernels);
  Register(
      {"BitOrConst 60",
       [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
         return op.BitOrConst(src, roi, dst, 60);
       },
       [](const cv::Mat& src, cv::Mat* dst) { cv::bitwise_or(src, cv::Scalar::all(60), *dst); }},
      Work::kRowKernels);
  Register(
      {"BitXorConst 60",
       [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
         return op.BitXorConst(src, roi, dst, 60);
       },
       [](const cv::Mat& src, cv::Mat* dst) { cv::bitwise_xor(src, cv::Scalar::all(60), *dst); }},
      Work::kRowKernels);
  Register({"BitNot",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.BitNot(src, roi, dst);
            },
            [](const cv::Mat& src, cv::Mat* dst) { cv::bitwise_not(src, *dst); }},
           Work::kRowKernels);
  Register({"Sqrt",
            [](KelImageOperation& op, KelImage& src, KelROI& roi, KelImage* dst) {
              return op.Sqrt(src, roi, dst);
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              static cv::Mat floats;
              src.convertTo(floats, CV_32F);
              cv::sqrt(floats, floats);
              floats.convertTo(*dst, src.depth());
            }},
           Work::kRowKernels);
}

}  // namespace KELRA::bench
