// Holes of binary images, by flooding the background from outside.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace kelra_reference {

// 255 on the background that is joined to the image's border over 4 neighbours, 0 elsewhere.
inline cv::Mat OutsideOf(const cv::Mat& image) {
  cv::Mat outside = cv::Mat::zeros(image.size(), CV_8UC1);
  std::vector<cv::Point> reached;
  const auto reach = [&](int column, int row) {
    const bool in_image = column >= 0 && column < image.cols && row >= 0 && row < image.rows;
    if (in_image && image.at<uchar>(row, column) == 0 && outside.at<uchar>(row, column) == 0) {
      outside.at<uchar>(row, column) = 255;
      reached.emplace_back(column, row);
    }
  };
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      if (row == 0 || column == 0 || row == image.rows - 1 || column == image.cols - 1) {
        reach(column, row);
      }
    }
  }
  while (!reached.empty()) {
    const cv::Point p = reached.back();
    reached.pop_back();
    reach(p.x - 1, p.y);
    reach(p.x + 1, p.y);
    reach(p.x, p.y - 1);
    reach(p.x, p.y + 1);
  }
  return outside;
}

// 255 on the objects and everything that they enclose.
inline cv::Mat Filled(const cv::Mat& image) {
  cv::Mat filled = OutsideOf(image);
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      filled.at<uchar>(row, column) = filled.at<uchar>(row, column) == 0 ? 255 : 0;
    }
  }
  return filled;
}

// 255 on enclosed background.
inline cv::Mat Holes(const cv::Mat& image) {
  cv::Mat holes = Filled(image);
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      if (image.at<uchar>(row, column) != 0) {
        holes.at<uchar>(row, column) = 0;
      }
    }
  }
  return holes;
}

}  // namespace kelra_reference
