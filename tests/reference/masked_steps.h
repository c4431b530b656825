// The masked steps behind a turned second image, by definition.
#pragma once

#include <algorithm>
#include <cstdint>
#include <opencv2/core.hpp>

#include "saturation.h"

namespace kelra_reference {

// Where the mask is set: the sample times scale plus offset in double precision, narrowed to single
// precision for three channels, truncated. Elsewhere the output keeps what it holds.
template <class Sample>
void MaskedScaleAndOffset(cv::Mat* output, const cv::Mat& input, const cv::Mat& mask, int row_limit,
                          int columns, double scale, double offset) {
  for (int row = 0; row < std::min({row_limit, input.rows, mask.rows}); ++row) {
    for (int i = 0; i < columns * input.channels(); ++i) {
      if (mask.ptr<std::uint8_t>(row)[i / input.channels()] == 0) {
        continue;
      }
      const double product = static_cast<double>(input.ptr<Sample>(row)[i]) * scale;
      const double y = product + offset;
      output->ptr<Sample>(row)[i] = input.channels() == 1
                                        ? ClampAndTruncate<Sample>(y)
                                        : ClampAndTruncate<Sample>(static_cast<float>(y));
    }
  }
}

// Where the mask is set: the sample plus the constant, truncated. Elsewhere the second image.
template <class Sample>
void MaskedSumOrSecond(cv::Mat* output, const cv::Mat& input, const cv::Mat& second,
                       const cv::Mat& mask, int row_limit, int columns, double constant) {
  for (int row = 0; row < std::min({row_limit, input.rows, mask.rows}); ++row) {
    for (int i = 0; i < columns * input.channels(); ++i) {
      const bool inside = mask.ptr<std::uint8_t>(row)[i / input.channels()] != 0;
      const double sum = static_cast<double>(input.ptr<Sample>(row)[i]) + constant;
      output->ptr<Sample>(row)[i] =
          inside ? ClampAndTruncate<Sample>(sum) : second.ptr<Sample>(row)[i];
    }
  }
}

}  // namespace kelra_reference
