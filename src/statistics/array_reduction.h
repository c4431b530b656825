// Reduces images of one size and type to one image, sample by sample, in one pass over them.
#pragma once

#include <opencv2/core.hpp>
#include <span>

#include "frame/kernels/row_kernels.h"

namespace KELRA {

// The images, 8-bit or 16-bit, at least one.
using Images = std::span<const cv::Mat* const>;

// result = the largest (kMaximum) or smallest (kMinimum) sample of all images and, where
// `include_result`, of what the result holds. The result has the images' size and type and shares
// no pixels with them.
void ReduceToExtreme(Images images, kernels::Combination extreme, bool include_result,
                     cv::Mat* result);

// result = the mean of the images less what is trimmed; their number exceeds what is trimmed. The
// result has the images' size and type and shares no pixels with them.
//
// `sums`, if not null, has the images' size and channels in single precision: its values are added
// to the sums, and it receives the means before they are rounded.
void ReduceToMean(Images images, kernels::Trim trim, cv::Mat* sums, cv::Mat* result);

}  // namespace KELRA
