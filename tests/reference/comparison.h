// Comparisons, by definition.
#pragma once

#include <algorithm>
#include <cstdint>
#include <opencv2/core.hpp>

namespace kelra_reference {

// The relations of the modes 0 to 5 and 6 to 11.
inline bool Holds(int mode, int p, int q) {
  switch (mode % 6) {
    case 0:
      return p == q;
    case 1:
      return p > q;
    case 2:
      return p >= q;
    case 3:
      return p < q;
    case 4:
      return p <= q;
    default:
      return p != q;
  }
}

// Marks the first image's copy where the relation holds, in the columns from 1 on that both images
// have.
template <class Sample>
cv::Mat MarkedSamples(const cv::Mat& first, const cv::Mat& second, int mode) {
  cv::Mat output = first.clone();
  for (int row = 0; row < std::min(first.rows, second.rows); ++row) {
    for (int column = 1; column < std::min(first.cols, second.cols); ++column) {
      if (Holds(mode, first.at<Sample>(row, column), second.at<Sample>(row, column))) {
        output.at<Sample>(row, column) = mode < 6 ? 0 : 255;
      }
    }
  }
  return output;
}

inline cv::Mat Marked(const cv::Mat& first, const cv::Mat& second, int mode) {
  return first.depth() == CV_8U ? MarkedSamples<std::uint8_t>(first, second, mode)
                                : MarkedSamples<std::uint16_t>(first, second, mode);
}

inline cv::Mat MarkedAgainst(const cv::Mat& image, int value, int mode) {
  return Marked(image, cv::Mat(image.size(), image.type(), cv::Scalar(value)), mode);
}

}  // namespace kelra_reference
