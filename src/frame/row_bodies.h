// The bodies of the arithmetic operations: each computes a range of rows of an output from its
// inputs.
//
// A body points to the output, which has the first input's size and type, and to the inputs; its
// launcher keeps them. The first input's columns bound every row. Bodies only read their inputs;
// the output may be one of them.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "frame/kernels/row_kernels.h"
#include "frame/row_engine.h"

namespace KELRA::tbbup {

// Operation codes: 0 add, 1 subtract, 2 multiply, 3 divide.
using OperationCode = kernels::Arithmetic;

// output = saturate((input op constant) * scale + offset), op add, subtract or multiply. The first
// columns up to a multiple of 16 (8-bit) or 8 (16-bit) are rounded to nearest, ties to even; those
// behind are truncated. Other codes leave the output as it is.
template <class Sample, int Channels>
class BlockwiseConstant {
 public:
  BlockwiseConstant(cv::Mat* output, const cv::Mat& input, OperationCode code, int constant,
                    float scale, float offset);
  void operator()(const RowRange& rows) const;

 private:
  cv::Mat* output_;
  const cv::Mat* input_;
  OperationCode code_;
  int constant_;
  kernels::Linear linear_;
};

// output = saturate(input / constant * scale + offset), rounded half up; the code is always 3.
template <class Sample>
class PlainConstant {
 public:
  PlainConstant(cv::Mat* output, const cv::Mat& input, int constant, float scale, float offset);
  void operator()(const RowRange& rows) const;

 private:
  cv::Mat* output_;
  const cv::Mat* input_;
  OperationCode code_ = kernels::kDivide;
  int constant_;
  kernels::Linear linear_;
};

// As BlockwiseConstant, with the second input's samples for the constant.
template <class Sample, int Channels>
class BlockwiseImages {
 public:
  BlockwiseImages(cv::Mat* output, const cv::Mat& input, const cv::Mat& second, OperationCode code,
                  float scale, float offset);
  void operator()(const RowRange& rows) const;

 private:
  cv::Mat* output_;
  const cv::Mat* input_;
  const cv::Mat* second_;
  OperationCode code_;
  kernels::Linear linear_;
};

// output = saturate(input / second * scale + offset), rounded half up, and 0 where the second
// sample is 0; the code is always 3.
template <class Sample>
class PlainImages {
 public:
  PlainImages(cv::Mat* output, const cv::Mat& input, const cv::Mat& second, float scale,
              float offset);
  void operator()(const RowRange& rows) const;

 private:
  cv::Mat* output_;
  const cv::Mat* input_;
  const cv::Mat* second_;
  OperationCode code_ = kernels::kDivide;
  kernels::Linear linear_;
};

using parallelOperationSSE2_greyValueInvoker = BlockwiseConstant<std::uint8_t, 1>;
using parallelOperationColorSSE2_greyValueInvoker = BlockwiseConstant<std::uint8_t, 3>;
using parallelOperationSSE2_16U_greyValueInvoker = BlockwiseConstant<std::uint16_t, 1>;
using parallelOperationColorSSE2_16U_greyValueInvoker = BlockwiseConstant<std::uint16_t, 3>;
using parallelOperationInvoker_greyValue = PlainConstant<std::uint8_t>;
using parallelOperationInvoker_16U_greyValue = PlainConstant<std::uint16_t>;

using parallelOperationSSE2Invoker = BlockwiseImages<std::uint8_t, 1>;
using parallelOperationColorSSE2Invoker = BlockwiseImages<std::uint8_t, 3>;
using parallelOperationSSE2Invoker_16U = BlockwiseImages<std::uint16_t, 1>;
using parallelOperationColorSSE2Invoker_16U = BlockwiseImages<std::uint16_t, 3>;
using parallelOperationInvoker = PlainImages<std::uint8_t>;
using parallelOperationInvoker_16U = PlainImages<std::uint16_t>;

extern template class BlockwiseConstant<std::uint8_t, 1>;
extern template class BlockwiseConstant<std::uint8_t, 3>;
extern template class BlockwiseConstant<std::uint16_t, 1>;
extern template class BlockwiseConstant<std::uint16_t, 3>;
extern template class PlainConstant<std::uint8_t>;
extern template class PlainConstant<std::uint16_t>;
extern template class BlockwiseImages<std::uint8_t, 1>;
extern template class BlockwiseImages<std::uint8_t, 3>;
extern template class BlockwiseImages<std::uint16_t, 1>;
extern template class BlockwiseImages<std::uint16_t, 3>;
extern template class PlainImages<std::uint8_t>;
extern template class PlainImages<std::uint16_t>;

// Builds a body and runs it over the first `rows` rows.
template <class Body, class... Arguments>
void Launch(cv::Mat* output, const cv::Mat& input, int rows, const Arguments&... arguments) {
  const Body body(output, input, arguments...);
  const std::size_t row_bytes = input.elemSize() * static_cast<std::size_t>(input.cols);
  ForEachRowRange(rows, 2 * row_bytes * static_cast<std::size_t>(rows), body);
}

}  // namespace KELRA::tbbup
