// Copies of pixels.
#pragma once

#include <cstring>
#include <opencv2/core.hpp>

namespace KELRA {

// Between matrices of one size and type that are the same or share no pixels. What OpenCV's copy
// does before its first byte takes as long as the pixels of a small image.
inline void CopyPixels(const cv::Mat& from, cv::Mat& to) {
  if (!from.isContinuous() || !to.isContinuous()) {
    from.copyTo(to);
  } else if (from.data != to.data) {
    std::memcpy(to.data, from.data, from.total() * from.elemSize());
  }
}

}  // namespace KELRA
