// What the plain models of several families have in common.
#pragma once

#include <opencv2/core.hpp>

#include "KELRA/KelROIDataConvert.h"
#include "call.h"
#include "region_of_interest.h"

namespace kelra_fuzz {

// 255 inside the region, which covers at least one pixel.
inline cv::Mat MaskOf(const KELRA::KelROI& region, const cv::Mat& image) {
  cv::Mat input = image;
  KELRA::KelROI roi = region;
  cv::Mat mask;
  static_cast<void>(KELRA::KelROIDataConvert().GenMaskImage(input, roi, &mask, 1, 0));
  return mask;
}

// The work on the first image, inside the region of interest.
inline cv::Mat InRegion(const Call& call, const kelra_reference::Work& work) {
  const cv::Mat& image = call.first->Mat();
  if (IsOnWholeImage(call)) {
    return work(image);
  }
  const cv::Mat mask = MaskOf(call.roi, image);
  return IsUnderRuns(call) ? kelra_reference::UnderMask(image, mask, work)
                           : kelra_reference::OnPart(image, mask, work);
}

}  // namespace kelra_fuzz
