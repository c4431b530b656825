#include "frame/row_bodies.h"

#include <algorithm>
#include <cmath>

#include "frame/row_views.h"

namespace KELRA::tbbup {
namespace {

using kernels::Extent;
using kernels::Linear;

// Pixels of a vector block; what exceeds a multiple of them is a row's tail.
template <class Sample>
constexpr int kBlockPixels = 16 / static_cast<int>(sizeof(Sample));

template <class Sample>
Extent BlocksAndTail(const cv::Mat& input, const RowRange& rows) {
  const int block_columns = input.cols - input.cols % kBlockPixels<Sample>;
  const std::ptrdiff_t channels = input.channels();
  return {static_cast<std::ptrdiff_t>(rows.size()), input.cols * channels,
          block_columns * channels};
}

bool IsSumOrDifference(OperationCode code) {
  return code == kernels::kAdd || code == kernels::kSubtract;
}

// Whether (s op c) * scale + offset is a whole number for all whole s and c.
bool IsWhole(Linear linear) {
  return linear.scale == 1.0F && std::nearbyint(linear.offset) == linear.offset;
}

// constant + offset or offset - constant, cut to the range beyond which every sample saturates.
template <class Sample>
int ShiftOf(OperationCode code, int constant, float offset) {
  constexpr double kLargest = sizeof(Sample) == 1 ? 255 : 65535;
  const double signed_constant = code == kernels::kAdd ? constant : -constant;
  return static_cast<int>(std::clamp(signed_constant + offset, -kLargest, kLargest));
}

}  // namespace

template <class Sample, int Channels>
BlockwiseConstant<Sample, Channels>::BlockwiseConstant(cv::Mat* output, const cv::Mat& input,
                                                       OperationCode code, int constant,
                                                       float scale, float offset)
    : output_(output), input_(&input), code_(code), constant_(constant), linear_{scale, offset} {
  CV_DbgAssert(input.channels() == Channels);
}

template <class Sample, int Channels>
void BlockwiseConstant<Sample, Channels>::operator()(const RowRange& rows) const {
  const auto& row_kernels = kernels::ActiveRowKernels().For<Sample>();
  const Extent extent = Optimized(BlocksAndTail<Sample>(*input_, rows), *output_, *input_);
  const auto src = RowsOf<const Sample>(*input_, rows);
  const auto dst = RowsOf<Sample>(*output_, rows);
  if (IsSumOrDifference(code_) && IsWhole(linear_)) {
    row_kernels.shift(src, dst, extent, ShiftOf<Sample>(code_, constant_, linear_.offset));
  } else if (IsSumOrDifference(code_) || code_ == kernels::kMultiply) {
    row_kernels.with_constant[code_](src, dst, extent, static_cast<float>(constant_), linear_);
  }
}

template <class Sample>
PlainConstant<Sample>::PlainConstant(cv::Mat* output, const cv::Mat& input, int constant,
                                     float scale, float offset)
    : output_(output), input_(&input), constant_(constant), linear_{scale, offset} {}

template <class Sample>
void PlainConstant<Sample>::operator()(const RowRange& rows) const {
  kernels::ActiveRowKernels().For<Sample>().with_constant[code_](
      RowsOf<const Sample>(*input_, rows), RowsOf<Sample>(*output_, rows),
      Optimized(BlocksOnly(*input_, rows), *output_, *input_), static_cast<float>(constant_),
      linear_);
}

template <class Sample, int Channels>
BlockwiseImages<Sample, Channels>::BlockwiseImages(cv::Mat* output, const cv::Mat& input,
                                                   const cv::Mat& second, OperationCode code,
                                                   float scale, float offset)
    : output_(output), input_(&input), second_(&second), code_(code), linear_{scale, offset} {
  CV_DbgAssert(input.channels() == Channels);
}

template <class Sample, int Channels>
void BlockwiseImages<Sample, Channels>::operator()(const RowRange& rows) const {
  const auto& row_kernels = kernels::ActiveRowKernels().For<Sample>();
  const Extent extent =
      Optimized(BlocksAndTail<Sample>(*input_, rows), *output_, *input_, *second_);
  const auto a = RowsOf<const Sample>(*input_, rows);
  const auto b = RowsOf<const Sample>(*second_, rows);
  const auto dst = RowsOf<Sample>(*output_, rows);
  if (IsSumOrDifference(code_) && linear_.scale == 1.0F && linear_.offset == 0.0F) {
    (code_ == kernels::kAdd ? row_kernels.add : row_kernels.subtract)(a, b, dst, extent);
  } else if (IsSumOrDifference(code_) || code_ == kernels::kMultiply) {
    row_kernels.with_image[code_](a, b, dst, extent, linear_);
  }
}

template <class Sample>
PlainImages<Sample>::PlainImages(cv::Mat* output, const cv::Mat& input, const cv::Mat& second,
                                 float scale, float offset)
    : output_(output), input_(&input), second_(&second), linear_{scale, offset} {}

template <class Sample>
void PlainImages<Sample>::operator()(const RowRange& rows) const {
  kernels::ActiveRowKernels().For<Sample>().with_image[code_](
      RowsOf<const Sample>(*input_, rows), RowsOf<const Sample>(*second_, rows),
      RowsOf<Sample>(*output_, rows),
      Optimized(BlocksOnly(*input_, rows), *output_, *input_, *second_), linear_);
}

template class BlockwiseConstant<std::uint8_t, 1>;
template class BlockwiseConstant<std::uint8_t, 3>;
template class BlockwiseConstant<std::uint16_t, 1>;
template class BlockwiseConstant<std::uint16_t, 3>;
template class PlainConstant<std::uint8_t>;
template class PlainConstant<std::uint16_t>;
template class BlockwiseImages<std::uint8_t, 1>;
template class BlockwiseImages<std::uint8_t, 3>;
template class BlockwiseImages<std::uint16_t, 1>;
template class BlockwiseImages<std::uint16_t, 3>;
template class PlainImages<std::uint8_t>;
template class PlainImages<std::uint16_t>;

}  // namespace KELRA::tbbup
