#include "frame/samplewise.h"

#include <cstdint>

#include "frame/result_matrix.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

using tbbup::BlocksOnly;
using tbbup::Optimized;
using tbbup::PixelBytes;
using tbbup::RowsOf;

// Calls `work` with a sample of the depth.
template <class Work>
void ForDepth(int depth, Work work) {
  if (depth == CV_8U) {
    work(std::uint8_t{});
  } else {
    work(std::uint16_t{});
  }
}

}  // namespace

void CombineWithConstant(const KelImage& src, KelImage* dst, kernels::Combination operation,
                         int constant) {
  ComputePixelwise(src.Mat(), dst, [&](const cv::Mat& input, cv::Mat& result) {
    ForDepth(input.depth(), [&]<class Sample>(Sample) {
      const auto kernel = kernels::ActiveRowKernels().For<Sample>().combine_constant[operation];
      ForEachRowRange(input.rows, 2 * PixelBytes(input), [&](const RowRange& rows) {
        kernel(RowsOf<const Sample>(input, rows), RowsOf<Sample>(result, rows),
               Optimized(BlocksOnly(input, rows), result, input), static_cast<Sample>(constant));
      });
    });
  });
}

void CombineMatrices(const cv::Mat& first, const cv::Mat& second, cv::Mat* result,
                     kernels::Combination operation) {
  ForDepth(first.depth(), [&]<class Sample>(Sample) {
    const auto kernel = kernels::ActiveRowKernels().For<Sample>().combine_images[operation];
    const auto body = [&](const RowRange& rows) {
      kernel(RowsOf<const Sample>(first, rows), RowsOf<const Sample>(second, rows),
             RowsOf<Sample>(*result, rows),
             Optimized(BlocksOnly(first, rows), *result, first, second));
    };
    ForEachRowRange(first.rows, 3 * PixelBytes(first), body);
  });
}

void CombineImages(const KelImage& first, const KelImage& second, KelImage* dst,
                   kernels::Combination operation) {
  ComputePixelwise(first.Mat(), dst, [&](const cv::Mat& a, cv::Mat& result) {
    SpareMatrix copy;
    const cv::Mat& b = InputToReadWhileWriting(result, second.Mat(), &copy);
    CombineMatrices(a, b, &result, operation);
  });
}

void TakeSquareRoot(const KelImage& src, KelImage* dst) {
  ComputePixelwise(src.Mat(), dst, [&](const cv::Mat& input, cv::Mat& result) {
    ForDepth(input.depth(), [&]<class Sample>(Sample) {
      const auto kernel = kernels::ActiveRowKernels().For<Sample>().root;
      ForEachRowRange(input.rows, 2 * PixelBytes(input), [&](const RowRange& rows) {
        kernel(RowsOf<const Sample>(input, rows), RowsOf<Sample>(result, rows),
               Optimized(BlocksOnly(input, rows), result, input));
      });
    });
  });
}

}  // namespace KELRA
