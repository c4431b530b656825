#include "frame/masked_row_bodies.h"

#include <algorithm>

namespace KELRA::tbbup {
namespace {

// NaN becomes 0.
template <class Sample, class Float>
Sample SaturateTruncated(Float value) {
  constexpr Float kLargest = sizeof(Sample) == 1 ? 255 : 65535;
  if (value >= kLargest) {
    return static_cast<Sample>(kLargest);
  }
  return value > 0 ? static_cast<Sample>(value) : Sample{0};
}

// A table of what each byte becomes.
template <class Sample, class Formula>
SampleTable<Sample> TableOf(Formula formula) {
  SampleTable<Sample> table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    table[i] = formula(static_cast<Sample>(i));
  }
  return table;
}

template <class Sample, int Channels>
Sample ScaledAndOffset(Sample sample, double scale, double offset) {
  const double y = sample * scale + offset;
  return Channels == 1 ? SaturateTruncated<Sample>(y)
                       : SaturateTruncated<Sample>(static_cast<float>(y));
}

template <class Sample>
Sample SumWith(Sample sample, double constant) {
  return SaturateTruncated<Sample>(sample + constant);
}

}  // namespace

template <class Sample, int Channels>
MaskedScaleAndOffset<Sample, Channels>::MaskedScaleAndOffset(cv::Mat* output, const cv::Mat& input,
                                                             const cv::Mat& mask, int rows,
                                                             int columns, double scale,
                                                             double offset)
    : output_(output),
      input_(input),
      mask_(mask),
      rows_(std::min({rows, input.rows, mask.rows})),
      columns_(columns),
      scale_(scale),
      offset_(offset),
      table_(TableOf<Sample>([&](Sample sample) {
        return ScaledAndOffset<Sample, Channels>(sample, scale, offset);
      })) {}

template <class Sample, int Channels>
void MaskedScaleAndOffset<Sample, Channels>::operator()(const RowRange& rows) const {
  const int end = std::min(rows.end(), rows_);
  for (int row = rows.begin(); row < end; ++row) {
    const Sample* src = input_.ptr<Sample>(row);
    const std::uint8_t* mask = mask_.ptr<std::uint8_t>(row);
    Sample* dst = output_->ptr<Sample>(row);
    for (int column = 0; column < columns_; ++column, src += Channels, dst += Channels) {
      if (mask[column] == 0) {
        continue;
      }
      for (int channel = 0; channel < Channels; ++channel) {
        if constexpr (sizeof(Sample) == 1) {
          dst[channel] = table_[src[channel]];
        } else {
          dst[channel] = ScaledAndOffset<Sample, Channels>(src[channel], scale_, offset_);
        }
      }
    }
  }
}

template <class Sample, int Channels>
MaskedSumOrSecond<Sample, Channels>::MaskedSumOrSecond(cv::Mat* output, const cv::Mat& input,
                                                       const cv::Mat& second, const cv::Mat& mask,
                                                       int rows, int columns, double constant)
    : output_(output),
      input_(input),
      second_(second),
      mask_(mask),
      rows_(std::min({rows, input.rows, mask.rows})),
      columns_(columns),
      constant_(constant),
      table_(TableOf<Sample>([&](Sample sample) { return SumWith(sample, constant); })) {}

template <class Sample, int Channels>
void MaskedSumOrSecond<Sample, Channels>::operator()(const RowRange& rows) const {
  const int end = std::min(rows.end(), rows_);
  for (int row = rows.begin(); row < end; ++row) {
    const Sample* src = input_.ptr<Sample>(row);
    const Sample* second = second_.ptr<Sample>(row);
    const std::uint8_t* mask = mask_.ptr<std::uint8_t>(row);
    Sample* dst = output_->ptr<Sample>(row);
    for (int column = 0; column < columns_; ++column) {
      for (int channel = 0; channel < Channels; ++channel, ++src, ++second, ++dst) {
        if (mask[column] == 0) {
          *dst = *second;
        } else if constexpr (sizeof(Sample) == 1) {
          *dst = table_[*src];
        } else {
          *dst = SumWith(*src, constant_);
        }
      }
    }
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
