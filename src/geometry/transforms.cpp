// Transpose, Affine, Perspective.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <opencv2/imgproc.hpp>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/result_matrix.h"
#include "frame/row_engine.h"
#include "frame/row_views.h"
#include "geometry/grid_row.h"
#include "geometry/perspective_rows.h"
#include "geometry/sampled_rows.h"

namespace KELRA {
namespace {

constexpr int kAffinePoints = 3;
constexpr int kPerspectivePoints = 4;

Status CheckPointCounts(const KelPointArray& from, const KelPointArray& to, int count) {
  return from.Length() == count && to.Length() == count ? STATUS_OK : ERR_POINT_COUNT;
}

template <std::size_t kCount>
std::array<cv::Point2f, kCount> InSinglePrecision(const KelPointArray& points) {
  std::array<cv::Point2f, kCount> narrowed;
  for (std::size_t i = 0; i < kCount; ++i) {
    const KelPoint& point = points[static_cast<int>(i)];
    narrowed[i] = {static_cast<float>(point.x), static_cast<float>(point.y)};
  }
  return narrowed;
}

// Rows of the result that go to one thread, at least: a kernel's tile.
constexpr int kRowsAtOnce = 16;

template <class Sample>
void TransposeAs(const cv::Mat& input, const cv::Mat& result) {
  const auto transpose = kernels::ActiveRowKernels().For<Sample>().transpose;
  const int groups = (result.rows + kRowsAtOnce - 1) / kRowsAtOnce;
  ForEachRowRange(groups, 2 * tbbup::PixelBytes(input), [&](const RowRange& range) {
    const RowRange rows(range.begin() * kRowsAtOnce,
                        std::min(range.end() * kRowsAtOnce, result.rows));
    const cv::Mat columns = input.colRange(rows.begin(), rows.end());
    transpose(tbbup::RowsOf<const Sample>(columns, RowRange(0, columns.rows)),
              tbbup::RowsOf<Sample>(result, rows), columns.rows, columns.cols);
  });
}

void TransposePixels(const cv::Mat& input, cv::Mat* result) {
  if (input.type() == CV_8UC1) {
    TransposeAs<std::uint8_t>(input, *result);
  } else if (input.type() == CV_16UC1) {
    TransposeAs<std::uint16_t>(input, *result);
  } else {
    cv::transpose(input, *result);
  }
}

// cv::warpAffine with linear interpolation, 0 outside the image; usual images by our own kernels.
void WarpAffine(const cv::Mat& input, const cv::Matx23d& forward, cv::Mat* result) {
  if (!SampledRows::Take(input, forward, input.size())) {
    cv::warpAffine(input, *result, forward, input.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    return;
  }
  const SampledRows sampled(input, forward, {{}, input.size()});
  ForEachRowRange(result->rows, kBytesWorthASampledPixel * result->total(),
                  [&](const RowRange& rows) {
                    for (int row = rows.begin(); row < rows.end(); ++row) {
                      const kernels::GridRow source = sampled.SourceOf(row);
                      sampled.Write(source, sampled.Reached(source), 0, result->ptr(row));
                    }
                  });
}

// cv::warpPerspective with linear interpolation, 0 outside the image; usual images by our own
// kernels.
void WarpPerspective(const cv::Mat& input, const cv::Matx33d& forward, cv::Mat* result) {
  if (!PerspectiveRows::Take(input)) {
    cv::warpPerspective(input, *result, forward, input.size(), cv::INTER_LINEAR,
                        cv::BORDER_CONSTANT);
    return;
  }
  const PerspectiveRows sampled(input, forward);
  ForEachRowRange(result->rows, kBytesWorthASampledPixel * result->total(),
                  [&](const RowRange& rows) {
                    for (int row = rows.begin(); row < rows.end(); ++row) {
                      sampled.Write(row, result->ptr(row));
                    }
                  });
}

}  // namespace

KelLong KelImageOperation::Transpose(KelImage& src, KelImage* dst) {
  CallLog log(log_lines::kTranspose);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckChannels(src));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  const cv::Mat& input = src.Mat();
  const cv::Size size(input.rows, input.cols);
  SpareMatrix fresh;
  cv::Mat& result = ResultMatrixApart(input, dst, size, input.type(), &fresh);
  TransposePixels(input, &result);
  AssignResult(result, dst);
  log.Exit();
  return STATUS_OK;
}

KelLong KelImageOperation::Affine(KelImage& src, KelImage* dst, KelPointArray& from,
                                  KelPointArray& to) {
  CallLog log(log_lines::kAffine);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckPointCounts(from, to, kAffinePoints));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  const cv::Mat& input = src.Mat();
  const cv::Matx23d forward = cv::getAffineTransform(InSinglePrecision<kAffinePoints>(from).data(),
                                                     InSinglePrecision<kAffinePoints>(to).data());
  SpareMatrix fresh;
  cv::Mat& result = ResultMatrixApart(input, dst, input.size(), input.type(), &fresh);
  WarpAffine(input, forward, &result);
  AssignResult(result, dst);
  log.Exit();
  return STATUS_OK;
}

KelLong KelImageOperation::Perspective(KelImage& src, KelImage* dst, KelPointArray& from,
                                       KelPointArray& to) {
  CallLog log(log_lines::kPerspective);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckPointCounts(from, to, kPerspectivePoints));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  const cv::Mat& input = src.Mat();
  const cv::Matx33d forward = PerspectiveTransform(InSinglePrecision<kPerspectivePoints>(from),
                                                   InSinglePrecision<kPerspectivePoints>(to));
  SpareMatrix fresh;
  cv::Mat& result = ResultMatrixApart(input, dst, input.size(), input.type(), &fresh);
  WarpPerspective(input, forward, &result);
  AssignResult(result, dst);
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
