// The regions under which operations are measured.
#pragma once

#include <KELRA/KelData.h>

#include <memory>
#include <opencv2/core.hpp>
#include <string>

namespace KELRA::bench {

struct Region {
  KelROI roi;
  cv::Rect box;  // what it covers of the image
  cv::Mat mask;  // of the box; empty where all of it is inside
};

// The whole image, a rectangle, a disc, and a ring as runs.
inline constexpr const char* kWhole = "whole";
inline constexpr const char* kPartialRegions[] = {"rectangle", "circle", "runs"};

// The region of that name on images of a size. Only the regions of the last size are kept.
std::shared_ptr<Region> RegionOn(cv::Size size, const std::string& name);

// The pixels of a mask that are not 0.
KelRegion RunsOf(const cv::Mat& mask);

}  // namespace KELRA::bench
