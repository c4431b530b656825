#include "statistics/array_reduction.h"

#include <algorithm>
#include <cstdint>

#include "frame/row_engine.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

using kernels::Extent;
using kernels::Rows;

// A tile's result or sums stay in the caches until the last image is folded in.
constexpr std::ptrdiff_t kExtremeTileBytes = 32768;
constexpr std::ptrdiff_t kMeanTileSamples = 2048;

// A piece of a range of rows.
struct Tile {
  std::ptrdiff_t row;  // from the range's first
  std::ptrdiff_t sample;
  Extent extent;
};

// Calls `work` for tiles of at most `tile_samples` samples that together cover the extent: several
// whole rows each, or a part of one.
template <class Work>
void ForEachTile(Extent extent, std::ptrdiff_t tile_samples, Work work) {
  const std::ptrdiff_t samples = std::min(extent.samples, tile_samples);
  const std::ptrdiff_t rows = std::max(tile_samples / extent.samples, std::ptrdiff_t{1});
  for (std::ptrdiff_t row = 0; row < extent.rows; row += rows) {
    for (std::ptrdiff_t sample = 0; sample < extent.samples; sample += samples) {
      const std::ptrdiff_t width = std::min(samples, extent.samples - sample);
      work(Tile{row, sample, {std::min(rows, extent.rows - row), width, width}});
    }
  }
}

// The rows of a range: one long row where no matrix has gaps.
Extent ExtentOf(Images images, const cv::Mat* sums, const cv::Mat& result, const RowRange& rows) {
  const Extent extent = tbbup::BlocksOnly(result, rows);
  const bool joined = result.isContinuous() && (sums == nullptr || sums->isContinuous()) &&
                      std::all_of(images.begin(), images.end(),
                                  [](const cv::Mat* image) { return image->isContinuous(); });
  const std::ptrdiff_t all = extent.rows * extent.samples;
  return joined ? Extent{1, all, all} : extent;
}

template <class Sample>
Rows<Sample> TileOf(const cv::Mat& mat, const RowRange& rows, const Tile& tile) {
  const Rows<Sample> range = tbbup::RowsOf<Sample>(mat, rows);
  return {range[tile.row] + tile.sample, range.step};
}

template <class Sample>
Rows<Sample> TileIn(Sample* memory, const Tile& tile) {
  return {memory, tile.extent.samples * static_cast<std::ptrdiff_t>(sizeof(Sample))};
}

// One tile of images, result and sums.
template <class Sample>
class TileReduction {
 public:
  TileReduction(Images images, const RowRange& rows, const Tile& tile)
      : images_(images), rows_(rows), tile_(tile) {}

  // Several images are folded at a time. Fewer fill up with the last one, which a maximum or
  // minimum does not notice.
  void Extreme(kernels::Combination extreme, bool include_result, Rows<Sample> result) const {
    const Rows<const Sample> so_far{result.first, result.step};
    for (std::size_t next = 0; next < images_.size();) {
      kernels::FoldedRows<Sample> folded;
      int count = 0;
      if (next > 0 || include_result) {
        folded.of[count++] = so_far;
      }
      for (; count < folded.kCount && next < images_.size(); ++count, ++next) {
        folded.of[count] = Image(next);
      }
      if (count == 2) {
        kernels_.combine_images[extreme](folded.of[0], folded.of[1], result, tile_.extent);
        continue;
      }
      std::fill(folded.of + count, folded.of + folded.kCount, folded.of[count - 1]);
      (extreme == kernels::kMaximum ? kernels_.fold_maximum : kernels_.fold_minimum)(folded, result,
                                                                                     tile_.extent);
    }
  }

  void AddTo(Rows<float> sums) const {
    constexpr std::size_t kFolded = kernels::FoldedRows<Sample>::kCount;
    std::size_t next = 0;
    for (; next + kFolded <= images_.size(); next += kFolded) {
      kernels::FoldedRows<Sample> folded;
      for (std::size_t i = 0; i < kFolded; ++i) {
        folded.of[i] = Image(next + i);
      }
      kernels_.fold_into_sums(folded, sums, tile_.extent);
    }
    for (; next < images_.size(); ++next) {
      kernels_.add_to_sums(Image(next), sums, tile_.extent);
    }
  }

  // Subtracts one extreme of each sample, which `memory` has room for.
  void DropFrom(Rows<float> sums, kernels::Combination extreme, Sample* memory) const {
    const Rows<Sample> dropped = TileIn(memory, tile_);
    Extreme(extreme, false, dropped);
    kernels_.subtract_from_sums({dropped.first, dropped.step}, sums, tile_.extent);
  }

  void RoundMeans(Rows<float> sums, float factor, Rows<Sample> result) const {
    kernels_.means(sums, result, tile_.extent, factor);
  }

 private:
  Rows<const Sample> Image(std::size_t index) const {
    return TileOf<const Sample>(*images_[index], rows_, tile_);
  }

  const kernels::SampleKernels<Sample>& kernels_ = kernels::ActiveRowKernels().For<Sample>();
  Images images_;
  const RowRange& rows_;
  const Tile& tile_;
};

template <class Sample>
void ExtremeOfRows(Images images, kernels::Combination extreme, bool include_result,
                   cv::Mat* result, const RowRange& rows) {
  const auto tile_samples = kExtremeTileBytes / static_cast<std::ptrdiff_t>(sizeof(Sample));
  ForEachTile(ExtentOf(images, nullptr, *result, rows), tile_samples, [&](const Tile& tile) {
    TileReduction<Sample>(images, rows, tile)
        .Extreme(extreme, include_result, TileOf<Sample>(*result, rows, tile));
  });
}

template <class Sample>
void MeanOfRows(Images images, Trim trim, cv::Mat* sums, cv::Mat* result, const RowRange& rows) {
  const int trimmed = (trim.smallest ? 1 : 0) + (trim.largest ? 1 : 0);
  const auto factor = static_cast<float>(1.0 / (static_cast<int>(images.size()) - trimmed));
  float sum_memory[kMeanTileSamples];
  Sample extreme_memory[kMeanTileSamples];
  ForEachTile(ExtentOf(images, sums, *result, rows), kMeanTileSamples, [&](const Tile& tile) {
    const TileReduction<Sample> reduction(images, rows, tile);
    Rows<float> sum = TileIn(sum_memory, tile);
    if (sums != nullptr) {
      sum = TileOf<float>(*sums, rows, tile);
    } else {
      std::fill_n(sum_memory, tile.extent.rows * tile.extent.samples, 0.0F);
    }
    reduction.AddTo(sum);
    if (trim.largest) {
      reduction.DropFrom(sum, kernels::kMaximum, extreme_memory);
    }
    if (trim.smallest) {
      reduction.DropFrom(sum, kernels::kMinimum, extreme_memory);
    }
    reduction.RoundMeans(sum, factor, TileOf<Sample>(*result, rows, tile));
  });
}

std::size_t BytesToMove(Images images) {
  return (images.size() + 1) * tbbup::PixelBytes(*images.front());
}

}  // namespace

void ReduceToExtreme(Images images, kernels::Combination extreme, bool include_result,
                     cv::Mat* result) {
  ForEachRowRange(result->rows, BytesToMove(images), [&](const RowRange& rows) {
    const auto reduce =
        result->depth() == CV_8U ? ExtremeOfRows<std::uint8_t> : ExtremeOfRows<std::uint16_t>;
    reduce(images, extreme, include_result, result, rows);
  });
}

void ReduceToMean(Images images, Trim trim, cv::Mat* sums, cv::Mat* result) {
  ForEachRowRange(result->rows, BytesToMove(images), [&](const RowRange& rows) {
    const auto reduce =
        result->depth() == CV_8U ? MeanOfRows<std::uint8_t> : MeanOfRows<std::uint16_t>;
    reduce(images, trim, sums, result, rows);
  });
}

}  // namespace KELRA
