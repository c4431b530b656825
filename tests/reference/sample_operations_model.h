// Operations on one sample at a time, by definition, in integers.
#pragma once

#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>

namespace kelra_reference {

// The integer nearest to the square root: the root is below r + 1/2 where s <= r * r + r.
inline int NearestRoot(int s) {
  int root = 0;
  while (root * root + root < s) {
    ++root;
  }
  return root;
}

// To the nearest integer; a half goes to the even one.
inline int NearestMean(int a, int b) {
  const int below = (a + b) / 2;
  const bool is_half = (a + b) % 2 == 1;
  return is_half && below % 2 == 1 ? below + 1 : below;
}

template <class Sample>
cv::Mat OfEverySampleAs(const cv::Mat& input, const std::function<int(int)>& operation) {
  cv::Mat output(input.size(), input.type());
  for (int row = 0; row < input.rows; ++row) {
    for (int i = 0; i < input.cols * input.channels(); ++i) {
      output.ptr<Sample>(row)[i] = static_cast<Sample>(operation(input.ptr<Sample>(row)[i]));
    }
  }
  return output;
}

inline cv::Mat OfEverySample(const cv::Mat& input, const std::function<int(int)>& operation) {
  return input.depth() == CV_8U ? OfEverySampleAs<std::uint8_t>(input, operation)
                                : OfEverySampleAs<std::uint16_t>(input, operation);
}

}  // namespace kelra_reference
