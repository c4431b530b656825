// Images for tests, and their comparison byte by byte.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace kelra_test {

// The types that the pixel operations accept.
inline constexpr int kPixelTypes[] = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};

std::string TypeName(int type);

// Samples over the whole range of an 8-bit or 16-bit type, its ends more often than chance has it.
cv::Mat RandomImage(int rows, int columns, int type, std::uint64_t seed = 1);

// Every byte of the image.
std::vector<std::uint8_t> BytesOf(const cv::Mat& image);

// Fails with the first sample that differs.
::testing::AssertionResult SameImage(const cv::Mat& actual, const cv::Mat& expected);

// An image in memory of its own, with `gap` bytes between its rows and `margin` bytes before the
// first and after the last. With neither it fills its memory to the byte, so that a sanitizer sees
// the first access beside it.
class GuardedImage {
 public:
  GuardedImage(const cv::Mat& pixels, int gap, int margin);
  GuardedImage(const GuardedImage&) = delete;
  GuardedImage& operator=(const GuardedImage&) = delete;

  cv::Mat& Mat() { return mat_; }

  // Whether all bytes around the pixels are as they were.
  ::testing::AssertionResult SurroundingsUntouched() const;

 private:
  std::vector<std::uint8_t> memory_;
  std::vector<std::uint8_t> original_;
  cv::Mat mat_;
};

}  // namespace kelra_test
