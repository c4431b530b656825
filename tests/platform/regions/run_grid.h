// Pixel runs as grids of pixels and back.
#pragma once

#include <KELRA/KelData.h>
#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <vector>

namespace kelra_test {

// 255 on the runs, which must lie in the image, and 0 elsewhere.
cv::Mat Painted(const std::vector<KELRA::KelRun>& runs, cv::Size size);

// Ordered by row and column, within the image, and no two runs overlapping or touching.
::testing::AssertionResult AreMaximalRuns(const std::vector<KELRA::KelRun>& runs, cv::Size size);

// The maximal runs of the pixels of an 8-bit image that are not 0, found pixel by pixel.
std::vector<KELRA::KelRun> PlainRuns(const cv::Mat& image);

bool SameRuns(const std::vector<KELRA::KelRun>& a, const std::vector<KELRA::KelRun>& b);

}  // namespace kelra_test
