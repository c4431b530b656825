// What a region does to an operation's result, by definition.
#pragma once

#include <functional>
#include <opencv2/core.hpp>

namespace kelra_reference {

// Pixels of `result` where the mask is set, of `input` elsewhere.
inline cv::Mat InsideMask(const cv::Mat& input, const cv::Mat& result, const cv::Mat& mask) {
  cv::Mat output = input.clone();
  for (int row = 0; row < input.rows; ++row) {
    for (int column = 0; column < input.cols; ++column) {
      if (mask.at<unsigned char>(row, column) != 0) {
        result(cv::Rect(column, row, 1, 1)).copyTo(output(cv::Rect(column, row, 1, 1)));
      }
    }
  }
  return output;
}

// The box around the pixels of a mask.
inline cv::Rect BoxOf(const cv::Mat& mask) {
  cv::Rect box;
  for (int row = 0; row < mask.rows; ++row) {
    for (int column = 0; column < mask.cols; ++column) {
      if (mask.at<unsigned char>(row, column) != 0) {
        box |= cv::Rect(column, row, 1, 1);
      }
    }
  }
  return box;
}

using Work = std::function<cv::Mat(const cv::Mat&)>;

// Run-length regions: the work is done on the whole image.
inline cv::Mat UnderMask(const cv::Mat& input, const cv::Mat& mask, const Work& work) {
  return InsideMask(input, work(input), mask);
}

// All other shapes: the work is done on the shape's box, cut out with 0 around the shape.
inline cv::Mat OnPart(const cv::Mat& input, const cv::Mat& mask, const Work& work) {
  const cv::Rect box = BoxOf(mask);
  const cv::Mat nothing = cv::Mat::zeros(box.size(), input.type());
  const cv::Mat part = InsideMask(nothing, input(box).clone(), mask(box).clone());
  cv::Mat output = input.clone();
  InsideMask(input(box).clone(), work(part), mask(box).clone()).copyTo(output(box));
  return output;
}

}  // namespace kelra_reference
