#include "access/region_value_bodies.h"

#include <algorithm>
#include <cstddef>

#include "frame/kernels/row_kernels.h"

namespace KELRA::tbbup {
namespace {

constexpr std::ptrdiff_t kPitch = 3;

// The part of a run that lies in the image.
struct Piece {
  std::ptrdiff_t row;
  std::ptrdiff_t begin;  // columns [begin, end)
  std::ptrdiff_t end;
};

template <class Visit>
void ForEachPieceInside(std::span<const KelRun> runs, int rows, int columns, Visit visit) {
  for (const KelRun& run : runs) {
    const std::ptrdiff_t begin = std::max(run.firstColumn, 0);
    const std::ptrdiff_t end = std::ptrdiff_t{std::min(run.lastColumn, columns - 1)} + 1;
    if (run.row >= 0 && run.row < rows && begin < end) {
      visit(Piece{run.row, begin, end});
    }
  }
}

}  // namespace

template <class Sample>
RegionValue<Sample>::RegionValue(const cv::Mat& output, int value, std::span<const KelRun> runs)
    : first_(reinterpret_cast<Sample*>(output.data)),
      rows_(output.rows),
      columns_(output.cols),
      value_(static_cast<Sample>(value)),
      runs_(runs) {}

template <class Sample>
void RegionValue<Sample>::operator()(const RowRange&) const {
  const auto fill = kernels::ActiveRowKernels().For<Sample>().fill;
  ForEachPieceInside(runs_, rows_, columns_, [&](const Piece& piece) {
    fill(first_ + piece.row * columns_ + piece.begin, piece.end - piece.begin, value_);
  });
}

template <class Sample>
RegionColorValue<Sample>::RegionColorValue(const cv::Mat& output, int channel, int value,
                                           std::span<const KelRun> runs)
    : first_(reinterpret_cast<Sample*>(output.data)),
      rows_(output.rows),
      columns_(output.cols),
      channels_(output.channels()),
      channel_(channel),
      value_(static_cast<Sample>(value)),
      runs_(runs) {}

template <class Sample>
void RegionColorValue<Sample>::operator()(const RowRange&) const {
  const auto set_thirds = kernels::ActiveRowKernels().For<Sample>().set_thirds;
  const std::ptrdiff_t row_samples = std::ptrdiff_t{columns_} * channels_;
  const std::ptrdiff_t samples = row_samples * rows_;
  ForEachPieceInside(runs_, rows_, columns_, [&](const Piece& piece) {
    const std::ptrdiff_t row = piece.row * row_samples + (kPitch - channel_);
    const std::ptrdiff_t end = std::min(row + (piece.end - 1) * kPitch + 1, samples);
    std::ptrdiff_t sample = row + piece.begin * kPitch;
    while (sample < 0) {
      sample += kPitch;
    }
    if (sample < end) {
      set_thirds(first_ + sample, end - sample, value_);
    }
  });
}

template class RegionValue<std::uint8_t>;
template class RegionValue<std::uint16_t>;
template class RegionColorValue<std::uint8_t>;
template class RegionColorValue<std::uint16_t>;

}  // namespace KELRA::tbbup
