#include "statistics/array_reduction.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "frame/row_engine.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

using kernels::ImageRows;

// Of sums that no matrix holds.
constexpr std::ptrdiff_t kTileSamples = 2048;

std::size_t BytesToMove(Images images) {
  return (images.size() + 1) * tbbup::PixelBytes(*images.front());
}

// Less arithmetic for each byte than elsewhere: twice as much is still little work.
std::size_t Work(Images images) { return BytesToMove(images) / 2; }

bool ShouldStream(Images images) { return ExceedsCaches(BytesToMove(images)); }

// Calls `work(sources, row, samples)` for the rows of a range; they are one long row where no
// matrix has gaps.
template <class Sample, class RowWork>
void ForEachRow(Images images, const cv::Mat* sums, const cv::Mat& result, const RowRange& rows,
                RowWork work) {
  const bool joined = result.isContinuous() && (sums == nullptr || sums->isContinuous()) &&
                      std::all_of(images.begin(), images.end(),
                                  [](const cv::Mat* image) { return image->isContinuous(); });
  const int height = joined ? static_cast<int>(rows.size()) : 1;
  const std::ptrdiff_t samples = std::ptrdiff_t{height} * result.cols * result.channels();
  cv::AutoBuffer<const Sample*, 32> sources(images.size());
  for (int row = rows.begin(); row < rows.end(); row += height) {
    std::transform(images.begin(), images.end(), sources.data(),
                   [row](const cv::Mat* image) { return image->ptr<Sample>(row); });
    work(ImageRows<Sample>{sources.data(), static_cast<std::ptrdiff_t>(images.size())}, row,
         samples);
  }
}

template <class Sample>
void ExtremeOfRows(Images images, kernels::Combination extreme, bool streaming, cv::Mat* result,
                   const RowRange& rows) {
  const auto& row_kernels = kernels::ActiveRowKernels().For<Sample>();
  const auto reduce = extreme == kernels::kMaximum ? row_kernels.largest : row_kernels.smallest;
  ForEachRow<Sample>(images, nullptr, *result, rows,
                     [&](ImageRows<Sample> sources, int row, std::ptrdiff_t samples) {
                       reduce(sources, result->ptr<Sample>(row), samples, streaming);
                     });
}

template <class Sample>
void MeanOfRows(Images images, kernels::Trim trim, float factor, cv::Mat* result,
                const RowRange& rows) {
  const auto mean = kernels::ActiveRowKernels().For<Sample>().mean[trim];
  const bool streaming = ShouldStream(images);
  ForEachRow<Sample>(images, nullptr, *result, rows,
                     [&](ImageRows<Sample> sources, int row, std::ptrdiff_t samples) {
                       mean(sources, result->ptr<Sample>(row), samples, factor, streaming);
                     });
}

// With sums of floats in memory, those of a matrix or of one tile at a time.
template <class Sample>
void MeanOfRowsBySums(Images images, kernels::Trim trim, float factor, cv::Mat* sums,
                      cv::Mat* result, const RowRange& rows) {
  const auto& row_kernels = kernels::ActiveRowKernels().For<Sample>();
  float tile[kTileSamples];
  std::vector<const Sample*> sources(images.size());
  const auto reduce = [&](ImageRows<Sample> all, int row, std::ptrdiff_t samples) {
    for (std::ptrdiff_t at = 0; at < samples; at += kTileSamples) {
      const std::ptrdiff_t width = std::min(kTileSamples, samples - at);
      float* sum = tile;
      if (sums != nullptr) {
        sum = sums->ptr<float>(row) + at;
      } else {
        std::fill_n(tile, width, 0.0F);
      }
      std::transform(all.first, all.first + all.count, sources.data(),
                     [at](const Sample* first) { return first + at; });
      row_kernels.add_images[trim]({sources.data(), all.count}, sum, width);
      row_kernels.means({sum, 0}, {result->ptr<Sample>(row) + at, 0}, {1, width, width}, factor);
    }
  };
  ForEachRow<Sample>(images, sums, *result, rows, reduce);
}

template <class Sample>
void MeanOf(Images images, kernels::Trim trim, cv::Mat* sums, cv::Mat* result) {
  const int trimmed = trim == kernels::kTrimBoth ? 2 : trim == kernels::kTrimNone ? 0 : 1;
  const auto factor = static_cast<float>(1.0 / (static_cast<int>(images.size()) - trimmed));
  const bool in_registers = sums == nullptr && images.size() <= kernels::kMostSummedImages;
  ForEachRowRange(result->rows, Work(images), [&](const RowRange& rows) {
    if (in_registers) {
      MeanOfRows<Sample>(images, trim, factor, result, rows);
    } else {
      MeanOfRowsBySums<Sample>(images, trim, factor, sums, result, rows);
    }
  });
}

}  // namespace

void ReduceToExtreme(Images images, kernels::Combination extreme, bool include_result,
                     cv::Mat* result) {
  std::vector<const cv::Mat*> with_result;
  if (include_result) {
    with_result.assign(images.begin(), images.end());
    with_result.push_back(result);
    images = with_result;
  }
  const bool streaming = !include_result && ShouldStream(images);
  ForEachRowRange(result->rows, Work(images), [&](const RowRange& rows) {
    const auto reduce =
        result->depth() == CV_8U ? ExtremeOfRows<std::uint8_t> : ExtremeOfRows<std::uint16_t>;
    reduce(images, extreme, streaming, result, rows);
  });
}

void ReduceToMean(Images images, kernels::Trim trim, cv::Mat* sums, cv::Mat* result) {
  const auto reduce = result->depth() == CV_8U ? MeanOf<std::uint8_t> : MeanOf<std::uint16_t>;
  reduce(images, trim, sums, result);
}

}  // namespace KELRA
