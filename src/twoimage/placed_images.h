// What the operations on an image and a second one laid onto it have in common: checks, promotion,
// turning, and the result that is the first image outside the second.
#pragma once

#include <opencv2/core.hpp>

#include "KELRA/KelData.h"
#include "frame/function_ref.h"
#include "frame/status.h"
#include "twoimage/placement.h"
#include "twoimage/turned_strips.h"

namespace KELRA {

// ERR_PARAM_1: outside the image, or not a number.
Status CheckPosition(const cv::Mat& image, const KelPoint& position);
// ERR_PARAM_2: outside [0, 360], or not a number.
Status CheckAngle(double angle);

// When the channel counts differ and one of them is 1, that image becomes one of three equal
// channels: the caller's own image, on purpose, so that it need not be converted again.
void PromoteToColor(cv::Mat& first, cv::Mat& second);

// Computes `result`, of the size and type of both inputs, which it may be one of.
using Combine = FunctionRef<void(const cv::Mat& first, const cv::Mat& second, cv::Mat* result)>;

// The output gets the first image, combined with the second where that lies on it. The output may
// share pixels with either.
void CombinePlaced(const cv::Mat& first, const cv::Mat& second, const Placement& placement,
                   KelImage* output, Combine combine);

// The same for a turned image, of which `at` is what lies on the first one, strip by strip.
// `combine` may change the turned pixels.
using CombineStrip =
    FunctionRef<void(const cv::Mat& first, cv::Mat& turned, const cv::Mat& mask, cv::Mat* result)>;
void CombineTurned(const cv::Mat& first, TurnedStrips* turned, const cv::Rect& at, bool with_mask,
                   KelImage* output, CombineStrip combine);

}  // namespace KELRA
