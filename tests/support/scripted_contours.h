// Contours that a test chooses; stands in for the contour library.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "KELRA/KelBase.h"

namespace kelra_test {

struct ContourScript {
  KELRA::KelLong status = 0;
  std::vector<cv::Point> points;
  std::vector<int> starts;
  std::vector<cv::Vec4i> hierarchy;
};

// What every search for contours finds.
ContourScript& FoundContours();

}  // namespace kelra_test
