// The foreground of a binary image as horizontal runs that know their neighbours.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace KELRA {

// A maximal run of pixels that are not 0; both columns belong to it. Runs of neighbouring rows
// touch when pixels of theirs are neighbours, diagonally or not.
struct ForegroundRun {
  int row;
  int first;
  int last;
  int first_above;  // index of the first run of the row above that touches it, or -1
  int last_below;   // index of the last run of the row below that touches it, or -1
};

// The runs of an 8-bit, one-channel image, row by row from the left.
std::vector<ForegroundRun> FindForegroundRuns(const cv::Mat& image);

}  // namespace KELRA
