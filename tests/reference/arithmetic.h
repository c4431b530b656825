// Arithmetic with a constant or a second image, by definition: one sample at a time.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "saturation.h"

namespace kelra_reference {

enum Operation { kAdd = 0, kSubtract = 1, kMultiply = 2, kDivide = 3 };

// (s op o) * scale + offset; each step is rounded to single precision.
inline float LinearOfResult(Operation operation, float s, float o, float scale, float offset) {
  float t = 0;
  switch (operation) {
    case kAdd:
      t = s + o;
      break;
    case kSubtract:
      t = s - o;
      break;
    case kMultiply:
      t = s * o;
      break;
    case kDivide:
      t = s / o;
      break;
  }
  const float scaled = t * scale;
  return scaled + offset;
}

// The columns of a row that are rounded to nearest: whole blocks of 16 or 8 pixels.
template <class Sample>
int BlockColumns(int columns) {
  constexpr int kBlock = sizeof(Sample) == 1 ? 16 : 8;
  return columns / kBlock * kBlock;
}

template <class Sample>
Sample ArithmeticResult(Operation operation, Sample s, int o, float scale, float offset,
                        bool in_block) {
  const float y =
      LinearOfResult(operation, static_cast<float>(s), static_cast<float>(o), scale, offset);
  if (operation == kDivide) {
    return ClampAndRoundHalfUp<Sample>(y);
  }
  return in_block ? ClampAndRoundToEven<Sample>(y) : ClampAndTruncate<Sample>(y);
}

template <class Sample>
cv::Mat ArithmeticOfSamples(Operation operation, const cv::Mat& input, const cv::Mat* second,
                            int constant, float scale, float offset) {
  cv::Mat output(input.size(), input.type());
  const int block_columns = BlockColumns<Sample>(input.cols);
  for (int row = 0; row < input.rows; ++row) {
    for (int column = 0; column < input.cols; ++column) {
      for (int channel = 0; channel < input.channels(); ++channel) {
        const int i = column * input.channels() + channel;
        const Sample s = input.ptr<Sample>(row)[i];
        Sample& result = output.ptr<Sample>(row)[i];
        const int o = second != nullptr ? second->ptr<Sample>(row)[i] : constant;
        if (operation == kDivide && o == 0) {
          result = 0;
        } else {
          result = ArithmeticResult(operation, s, o, scale, offset, column < block_columns);
        }
      }
    }
  }
  return output;
}

// The constant of a division is not 0.
inline cv::Mat ArithmeticWithConstant(Operation operation, const cv::Mat& input, int constant,
                                      float scale, float offset) {
  return input.depth() == CV_8U
             ? ArithmeticOfSamples<std::uint8_t>(operation, input, nullptr, constant, scale, offset)
             : ArithmeticOfSamples<std::uint16_t>(operation, input, nullptr, constant, scale,
                                                  offset);
}

// A sample divided by a sample 0 gives 0.
inline cv::Mat ArithmeticWithImage(Operation operation, const cv::Mat& input, const cv::Mat& second,
                                   float scale, float offset) {
  return input.depth() == CV_8U
             ? ArithmeticOfSamples<std::uint8_t>(operation, input, &second, 0, scale, offset)
             : ArithmeticOfSamples<std::uint16_t>(operation, input, &second, 0, scale, offset);
}

}  // namespace kelra_reference
