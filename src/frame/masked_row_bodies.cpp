#include "frame/masked_row_bodies.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "frame/kernels/row_kernels.h"
#include "frame/row_views.h"

namespace KELRA::tbbup {
namespace {

// The first byte that is not 0, looked for eight bytes at a time.
const std::uint8_t* FirstSet(const std::uint8_t* p, const std::uint8_t* end) {
  for (std::uint64_t eight; end - p >= 8; p += 8) {
    std::memcpy(&eight, p, 8);
    if (eight != 0) {
      break;
    }
  }
  return std::find_if(p, end, [](std::uint8_t m) { return m != 0; });
}

// Calls `inside` and `outside` with the first column and the length of every run of columns whose
// mask is set, or not. The mask is a turned rectangle's: a row has few runs.
template <class Inside, class Outside>
void ForEachRun(const std::uint8_t* mask, int columns, Inside inside, Outside outside) {
  const std::uint8_t* const end = mask + std::max(columns, 0);
  for (const std::uint8_t* run = mask; run != end;) {
    const std::uint8_t* set = FirstSet(run, end);
    outside(run - mask, set - run);
    const void* unset = std::memchr(set, 0, static_cast<std::size_t>(end - set));
    run = unset != nullptr ? static_cast<const std::uint8_t*>(unset) : end;
    inside(set - mask, run - set);
  }
}

}  // namespace

template <class Sample, int Channels>
MaskedScaleAndOffset<Sample, Channels>::MaskedScaleAndOffset(cv::Mat* output, const cv::Mat& input,
                                                             const cv::Mat& mask, int rows,
                                                             int columns, double scale,
                                                             double offset)
    : output_(output),
      input_(&input),
      mask_(&mask),
      rows_(std::min({rows, input.rows, mask.rows})),
      columns_(columns),
      scale_(scale),
      offset_(offset) {}

template <class Sample, int Channels>
void MaskedScaleAndOffset<Sample, Channels>::operator()(const RowRange& rows) const {
  const auto& kernels = kernels::ActiveRowKernels().For<Sample>();
  const auto kernel = Channels == 1 ? kernels.in_double : kernels.in_double_rounded;
  const int end = std::min(rows.end(), rows_);
  for (int row = rows.begin(); row < end; ++row) {
    const Sample* src = input_->ptr<Sample>(row);
    Sample* dst = output_->ptr<Sample>(row);
    ForEachRun(
        mask_->ptr<std::uint8_t>(row), columns_,
        [&](std::ptrdiff_t column, std::ptrdiff_t length) {
          const std::ptrdiff_t first = column * Channels;
          kernel(src + first, dst + first, length * Channels, scale_, offset_);
        },
        [](std::ptrdiff_t, std::ptrdiff_t) {});
  }
}

template <class Sample, int Channels>
MaskedSumOrSecond<Sample, Channels>::MaskedSumOrSecond(cv::Mat* output, const cv::Mat& input,
                                                       const cv::Mat& second, const cv::Mat& mask,
                                                       int rows, int columns, double constant)
    : output_(output),
      input_(&input),
      second_(&second),
      mask_(&mask),
      rows_(std::min({rows, input.rows, mask.rows})),
      columns_(columns),
      constant_(constant) {}

template <class Sample, int Channels>
void MaskedSumOrSecond<Sample, Channels>::operator()(const RowRange& rows) const {
  const auto kernel = kernels::ActiveRowKernels().For<Sample>().in_double;
  const int end = std::min(rows.end(), rows_);
  for (int row = rows.begin(); row < end; ++row) {
    const Sample* src = input_->ptr<Sample>(row);
    const Sample* second = second_->ptr<Sample>(row);
    Sample* dst = output_->ptr<Sample>(row);
    ForEachRun(
        mask_->ptr<std::uint8_t>(row), columns_,
        [&](std::ptrdiff_t column, std::ptrdiff_t length) {
          const std::ptrdiff_t first = column * Channels;
          kernel(src + first, dst + first, length * Channels, 1, constant_);
        },
        [&](std::ptrdiff_t column, std::ptrdiff_t length) {
          const std::ptrdiff_t first = column * Channels;
          std::copy_n(second + first, length * Channels, dst + first);
        });
  }
}

template class MaskedScaleAndOffset<std::uint8_t, 1>;
template class MaskedScaleAndOffset<std::uint16_t, 1>;
template class MaskedScaleAndOffset<std::uint8_t, 3>;
template class MaskedScaleAndOffset<std::uint16_t, 3>;
template class MaskedSumOrSecond<std::uint8_t, 1>;
template class MaskedSumOrSecond<std::uint8_t, 3>;
template class MaskedSumOrSecond<std::uint16_t, 1>;
template class MaskedSumOrSecond<std::uint16_t, 3>;

}  // namespace KELRA::tbbup
