#include "side_by_side.h"

namespace KELRA::bench {

void RegisterCreation() {
  const auto create = [](cv::Size size, int type) {
    struct On {
      KelImageOperation op;
      KelImage our_dst;
      cv::Mat opencv_dst;
    };
    const auto on = std::make_shared<On>();
    return Calls{[=] {
                   return on->op.CreateConst(&on->our_dst, size.height, size.width,
                                             static_cast<KelImageType>(CV_MAT_DEPTH(type)),
                                             CV_MAT_CN(type), KelColorRGBA{200, 100, 50, 0});
                 },
                 [=] {
                   const cv::Scalar color =
                       CV_MAT_CN(type) == 1 ? cv::Scalar(200) : cv::Scalar(50, 100, 200);
                   on->opencv_dst.create(size, type);
                   on->opencv_dst.setTo(color);
                 }};
  };
  Register(CallsSideBySide{"CreateConst", create, 1});
  Register({"Copy",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) { return op.Copy(src, dst); },
            [](const cv::Mat& src, cv::Mat* dst) { src.copyTo(*dst); }});
}

}  // namespace KELRA::bench
