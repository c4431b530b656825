// Matrices compared byte by byte, those of more than two dimensions too.
#pragma once

#include <cstddef>
#include <cstring>
#include <opencv2/core.hpp>

namespace kelra_fuzz {

inline bool SameMatrix(const cv::Mat& a, const cv::Mat& b) {
  if (a.empty() && b.empty()) {
    return true;
  }
  if (a.dims != b.dims || a.type() != b.type() || a.size != b.size) {
    return false;
  }
  if (a.isContinuous() && b.isContinuous()) {
    return std::memcmp(a.data, b.data, a.total() * a.elemSize()) == 0;
  }
  // What has gaps has two dimensions.
  const std::size_t row_bytes = a.elemSize() * static_cast<std::size_t>(a.cols);
  for (int row = 0; row < a.rows; ++row) {
    if (std::memcmp(a.ptr(row), b.ptr(row), row_bytes) != 0) {
      return false;
    }
  }
  return true;
}

// Of matrices of two dimensions or none.
inline bool SameHeader(const cv::Mat& a, const cv::Mat& b) {
  return a.data == b.data && a.rows == b.rows && a.cols == b.cols && a.type() == b.type() &&
         (a.empty() || a.step[0] == b.step[0]);
}

}  // namespace kelra_fuzz
