#include "statistics/array_reduction.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frame/row_engine.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

using kernels::Extent;
using kernels::Rows;

// With its result and trackers a tile takes at most 24 KiB.
constexpr std::ptrdiff_t kExtremeTileBytes = 8192;
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

template <class Sample>
void ExtremeOfRows(Images images, kernels::Combination extreme, bool include_result,
                   cv::Mat* result, const RowRange& rows) {
  const auto combine = kernels::ActiveRowKernels().For<Sample>().combine_images[extreme];
  const auto tile_samples = kExtremeTileBytes / static_cast<std::ptrdiff_t>(sizeof(Sample));
  ForEachTile(ExtentOf(images, nullptr, *result, rows), tile_samples, [&](const Tile& tile) {
    const auto image = [&](std::size_t i) { return TileOf<const Sample>(*images[i], rows, tile); };
    const auto dst = TileOf<Sample>(*result, rows, tile);
    const Rows<const Sample> so_far{dst.first, dst.step};
    std::size_t next = 0;
    if (!include_result) {
      combine(image(0), image(images.size() > 1 ? 1 : 0), dst, tile.extent);
      next = 2;
    }
    for (; next < images.size(); ++next) {
      combine(so_far, image(next), dst, tile.extent);
    }
  });
}

template <class Sample>
void MeanOfRows(Images images, Trim trim, cv::Mat* sums, cv::Mat* result, const RowRange& rows) {
  const auto& row_kernels = kernels::ActiveRowKernels().For<Sample>();
  const int trimmed = (trim.smallest ? 1 : 0) + (trim.largest ? 1 : 0);
  const auto factor = static_cast<float>(1.0 / (static_cast<int>(images.size()) - trimmed));
  float sum_memory[kMeanTileSamples];
  Sample smallest_memory[kMeanTileSamples];
  Sample largest_memory[kMeanTileSamples];
  ForEachTile(ExtentOf(images, sums, *result, rows), kMeanTileSamples, [&](const Tile& tile) {
    const Extent& extent = tile.extent;
    Rows<float> sum = TileIn(sum_memory, tile);
    if (sums != nullptr) {
      sum = TileOf<float>(*sums, rows, tile);
    } else {
      std::fill_n(sum_memory, extent.rows * extent.samples, 0.0F);
    }
    const Rows<Sample> smallest = TileIn(smallest_memory, tile);
    const Rows<Sample> largest = TileIn(largest_memory, tile);
    const auto constant = [](const Rows<Sample>& tile_rows) {
      return Rows<const Sample>{tile_rows.first, tile_rows.step};
    };
    std::memset(smallest_memory, 0xFF, sizeof(smallest_memory));
    std::memset(largest_memory, 0, sizeof(largest_memory));
    for (const cv::Mat* mat : images) {
      const auto image = TileOf<const Sample>(*mat, rows, tile);
      row_kernels.add_to_sums(image, sum, extent);
      if (trim.smallest) {
        row_kernels.combine_images[kernels::kMinimum](constant(smallest), image, smallest, extent);
      }
      if (trim.largest) {
        row_kernels.combine_images[kernels::kMaximum](constant(largest), image, largest, extent);
      }
    }
    if (trim.largest) {
      row_kernels.subtract_from_sums(constant(largest), sum, extent);
    }
    if (trim.smallest) {
      row_kernels.subtract_from_sums(constant(smallest), sum, extent);
    }
    row_kernels.means(sum, TileOf<Sample>(*result, rows, tile), extent, factor);
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
