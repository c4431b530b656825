#include "access/region_value_bodies.h"

#include <algorithm>
#include <array>
#include <cstddef>

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

// As many samples as are both whole pixels and whole vectors.
constexpr std::ptrdiff_t kBlock = 16 * kPitch;

// The bits that a block keeps when the first sample of each pixel is set.
template <class Sample>
constexpr std::array<Sample, kBlock> kKept = [] {
  std::array<Sample, kBlock> kept{};
  for (std::size_t i = 0; i < kBlock; ++i) {
    kept[i] = static_cast<Sample>(i % kPitch == 0 ? 0 : ~0);
  }
  return kept;
}();

// Sets one sample of each pixel among `count` samples, the first and every third from it. Those
// between are written as they are: a block at a time is several times as fast as a sample.
template <class Sample>
void FillChannel(Sample* samples, std::ptrdiff_t count, Sample value) {
  for (; count >= kBlock; samples += kBlock, count -= kBlock) {
    for (std::size_t i = 0; i < kBlock; ++i) {
      const Sample kept = kKept<Sample>[i];
      samples[i] = static_cast<Sample>((samples[i] & kept) | (value & ~kept));
    }
  }
  for (std::ptrdiff_t i = 0; i < count; i += kPitch) {
    samples[i] = value;
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
  ForEachPieceInside(runs_, rows_, columns_, [&](const Piece& piece) {
    std::fill_n(first_ + piece.row * columns_ + piece.begin, piece.end - piece.begin, value_);
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
  const std::ptrdiff_t row_samples = std::ptrdiff_t{columns_} * channels_;
  const std::ptrdiff_t samples = row_samples * rows_;
  ForEachPieceInside(runs_, rows_, columns_, [&](const Piece& piece) {
    const std::ptrdiff_t row = piece.row * row_samples + (kPitch - channel_);
    const std::ptrdiff_t end = std::min(row + piece.end * kPitch, samples);
    std::ptrdiff_t sample = row + piece.begin * kPitch;
    while (sample < 0) {
      sample += kPitch;
    }
    FillChannel(first_ + sample, end - sample, value_);
  });
}

template class RegionValue<std::uint8_t>;
template class RegionValue<std::uint16_t>;
template class RegionColorValue<std::uint8_t>;
template class RegionColorValue<std::uint16_t>;

}  // namespace KELRA::tbbup
