#include "frame/bound_buffer.h"

#include "frame/result_matrix.h"

namespace KELRA {

void BoundBuffer::Bind(cv::Mat& buffer, const KelImage& src, KelImage* dst) {
  const cv::Mat& input = src.Mat();
  if (SharesPixels(buffer, input)) {
    buffer.release();
  }
  buffer.create(input.size(), input.type());
  bound_ = buffer;
  dst->Mat() = buffer;
}

BoundBuffer::~BoundBuffer() {
  if (!bound_.empty()) {
    bound_.setTo(0.0);
  }
}

}  // namespace KELRA
