#include "side_by_side.h"

namespace KELRA::bench {

void RegisterPointOperations() {
  static KelROI whole;
  Register(
      {"BitAndConst 60",
       [](KelImageOperation& op, KelImage& src, KelImage* dst) {
         return op.BitAndConst(src, whole, dst, 60);
       },
       [](const cv::Mat& src, cv::Mat* dst) { cv::bitwise_and(src, cv::Scalar::all(60), *dst); }});
  Register(
      {"BitOrConst 60",
       [](KelImageOperation& op, KelImage& src, KelImage* dst) {
         return op.BitOrConst(src, whole, dst, 60);
       },
       [](const cv::Mat& src, cv::Mat* dst) { cv::bitwise_or(src, cv::Scalar::all(60), *dst); }});
  Register(
      {"BitXorConst 60",
       [](KelImageOperation& op, KelImage& src, KelImage* dst) {
         return op.BitXorConst(src, whole, dst, 60);
       },
       [](const cv::Mat& src, cv::Mat* dst) { cv::bitwise_xor(src, cv::Scalar::all(60), *dst); }});
  Register({"BitNot",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.BitNot(src, whole, dst);
            },
            [](const cv::Mat& src, cv::Mat* dst) { cv::bitwise_not(src, *dst); }});
  Register(
      {"Sqrt",
       [](KelImageOperation& op, KelImage& src, KelImage* dst) { return op.Sqrt(src, whole, dst); },
       [](const cv::Mat& src, cv::Mat* dst) {
         cv::Mat floats;
         src.convertTo(floats, CV_32F);
         cv::sqrt(floats, floats);
         floats.convertTo(*dst, src.depth());
       }});
}

}  // namespace KELRA::bench
