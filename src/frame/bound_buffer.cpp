#include "frame/bound_buffer.h"

#include "frame/result_matrix.h"

namespace KELRA {

void BoundBuffer::KeepPixels(cv::Mat& buffer, const KelImage& input) {
  if (SharesPixels(buffer, input.Mat())) {
    buffer.release();
  }
}

void BoundBuffer::Bind(cv::Mat& buffer, const KelImage& src, KelImage* dst) {
  KeepPixels(buffer, src);
  const cv::Mat& input = src.Mat();
  buffer.create(input.size(), input.type());
  bound_ = &buffer;
  dst->Mat() = buffer;
}

}  // namespace KELRA
