// The matrix that an object reuses for its results in efficiency mode, during one call.
#pragma once

#include "KELRA/KelData.h"

namespace KELRA {

// Binding makes the output share the buffer, fitted to the input's size and type. The buffer reads
// as zeros after the call unless the result was computed into it; since such a result covers every
// pixel, it is cleared only when there is none.
class BoundBuffer {
 public:
  BoundBuffer() = default;
  ~BoundBuffer() {
    if (bound_ != nullptr) {
      bound_->setTo(0.0);
    }
  }
  BoundBuffer(const BoundBuffer&) = delete;
  BoundBuffer& operator=(const BoundBuffer&) = delete;

  // An input that shares the buffer's pixels, being an earlier output, keeps them: the buffer is
  // exchanged for a new one.
  void Bind(cv::Mat& buffer, const KelImage& src, KelImage* dst);

  // The same for an input that Bind is not told of.
  static void KeepPixels(cv::Mat& buffer, const KelImage& input);

  bool IsBound() const { return bound_ != nullptr; }

  // The whole buffer holds a result.
  void MarkOverwritten() { bound_ = nullptr; }

 private:
  cv::Mat* bound_ = nullptr;
};

}  // namespace KELRA
