// Regions whose answers a test chooses; stands in for the region library.
#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "KELRA/KelData.h"

namespace kelra_test {

// Every region is `box`, whatever its kind. A failing step writes nothing; a matrix given here is
// written in place of the step's result, whether it fails or not.
struct RegionScript {
  cv::Rect box{2, 1, 5, 3};
  KELRA::KelLong extraction_status = 0;
  KELRA::KelLong restore_status = 0;
  KELRA::KelLong mask_status = 0;
  std::optional<cv::Mat> extracted;
  std::optional<cv::Mat> restored;
  bool restore_throws = false;
  std::optional<cv::Mat> mask;
};

struct RegionCall {
  std::string name;
  const void* converter;
  KELRA::KelROIType kind;
  cv::Mat image;                  // a header: shares the pixels
  cv::Mat part;                   // of ROIImageRestore
  std::vector<double> constants;  // the arguments behind the matrices
  cv::Mat out;                    // what was passed to be written
};

// The script of all calls. Starts a fresh one with an empty list of calls.
RegionScript& NewRegionScript();
const std::vector<RegionCall>& RegionCalls();

int RegionConvertersConstructed();

}  // namespace kelra_test
