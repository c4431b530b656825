#include "geometry/grid_row.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace KELRA {
namespace {

template <class Sample>
void WriteAs(const cv::Mat& image, const kernels::GridRow& source, Columns reached, int columns,
             double around, Sample* row) {
  const auto& kernels = kernels::ActiveRowKernels().For<Sample>();
  const std::ptrdiff_t channels = image.channels();
  const auto on_grid =
      channels == 1 ? kernels.on_grid_of_one_channel : kernels.on_grid_of_three_channels;
  const kernels::SampledImage<Sample> sampled{
      {image.ptr<Sample>(), static_cast<std::ptrdiff_t>(image.step[0])}, image.rows, image.cols};
  const auto outside = static_cast<Sample>(around);
  Sample* const first = row + channels * reached.first;
  Sample* const last = row + channels * reached.last;
  std::fill(row, first, outside);
  on_grid(sampled, source.From(reached.first), reached.last - reached.first, outside, first);
  std::fill(last, row + channels * columns, outside);
}

}  // namespace

bool HasGridSamples(const cv::Mat& image) {
  return (image.channels() == 1 || image.channels() == 3) &&
         (image.depth() == CV_8U || image.depth() == CV_16U);
}

void WriteGridRow(const cv::Mat& image, const kernels::GridRow& source, Columns reached,
                  int columns, double around, void* row) {
  if (image.depth() == CV_8U) {
    WriteAs(image, source, reached, columns, around, static_cast<std::uint8_t*>(row));
  } else {
    WriteAs(image, source, reached, columns, around, static_cast<std::uint16_t*>(row));
  }
}

}  // namespace KELRA
