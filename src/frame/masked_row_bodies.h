// The bodies of the masked steps behind a turned second image.
//
// Each works on the pixels (r, c) with r below the row limit and the rows of the input and the
// mask, and c below the column count. The mask has one 8-bit channel.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "frame/row_engine.h"

namespace KELRA::tbbup {

// Where the mask is not 0: output = saturate(input * scale + offset), in double precision (rounded
// to single for three channels), truncated toward zero. Elsewhere the output is not written.
template <class Sample, int Channels>
class MaskedScaleAndOffset {
 public:
  MaskedScaleAndOffset(cv::Mat* output, const cv::Mat& input, const cv::Mat& mask, int rows,
                       int columns, double scale, double offset);
  void operator()(const RowRange& rows) const;

 private:
  cv::Mat* output_;
  const cv::Mat* input_;
  const cv::Mat* mask_;
  int rows_;
  int columns_;
  double scale_;
  double offset_;
};

// Where the mask is not 0: output = saturate(input + constant), truncated toward zero; elsewhere
// the second image's sample.
template <class Sample, int Channels>
class MaskedSumOrSecond {
 public:
  MaskedSumOrSecond(cv::Mat* output, const cv::Mat& input, const cv::Mat& second,
                    const cv::Mat& mask, int rows, int columns, double constant);
  void operator()(const RowRange& rows) const;

 private:
  cv::Mat* output_;
  const cv::Mat* input_;
  const cv::Mat* second_;
  const cv::Mat* mask_;
  int rows_;
  int columns_;
  double constant_;
};

using parallelMaskC1Invoker = MaskedScaleAndOffset<std::uint8_t, 1>;
using parallelMaskC1_16UInvoker = MaskedScaleAndOffset<std::uint16_t, 1>;
using parallelMaskC3Invoker = MaskedScaleAndOffset<std::uint8_t, 3>;
using parallelMaskC3_16UInvoker = MaskedScaleAndOffset<std::uint16_t, 3>;

// The names say multiply, the bodies add.
using parallelMaskInvokerMultiply = MaskedSumOrSecond<std::uint8_t, 1>;
using parallelMaskC3InvokerMultiply = MaskedSumOrSecond<std::uint8_t, 3>;
using parallelMask_16UInvokerMultiply = MaskedSumOrSecond<std::uint16_t, 1>;
using parallelMaskC3_16UInvokerMultiply = MaskedSumOrSecond<std::uint16_t, 3>;

extern template class MaskedScaleAndOffset<std::uint8_t, 1>;
extern template class MaskedScaleAndOffset<std::uint16_t, 1>;
extern template class MaskedScaleAndOffset<std::uint8_t, 3>;
extern template class MaskedScaleAndOffset<std::uint16_t, 3>;
extern template class MaskedSumOrSecond<std::uint8_t, 1>;
extern template class MaskedSumOrSecond<std::uint8_t, 3>;
extern template class MaskedSumOrSecond<std::uint16_t, 1>;
extern template class MaskedSumOrSecond<std::uint16_t, 3>;

}  // namespace KELRA::tbbup
