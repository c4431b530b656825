// Transpose, Affine, Perspective.

#include <opencv2/imgproc.hpp>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/result_matrix.h"

namespace KELRA {
namespace {

constexpr int kAffinePoints = 3;
constexpr int kPerspectivePoints = 4;

Status CheckPointCounts(const KelPointArray& from, const KelPointArray& to, int count) {
  return from.Length() == count && to.Length() == count ? STATUS_OK : ERR_POINT_COUNT;
}

std::vector<cv::Point2f> InSinglePrecision(const KelPointArray& points) {
  std::vector<cv::Point2f> narrowed;
  narrowed.reserve(static_cast<std::size_t>(points.Length()));
  for (int i = 0; i < points.Length(); ++i) {
    narrowed.emplace_back(static_cast<float>(points[i].x), static_cast<float>(points[i].y));
  }
  return narrowed;
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
  cv::Mat fresh;
  cv::Mat& result = ResultMatrixApart(input, dst, size, input.type(), &fresh);
  cv::transpose(input, result);
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
  const cv::Mat forward = cv::getAffineTransform(InSinglePrecision(from), InSinglePrecision(to));
  cv::Mat fresh;
  cv::Mat& result = ResultMatrixApart(input, dst, input.size(), input.type(), &fresh);
  cv::warpAffine(input, result, forward, input.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT);
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
  const cv::Mat forward =
      cv::getPerspectiveTransform(InSinglePrecision(from), InSinglePrecision(to));
  cv::Mat fresh;
  cv::Mat& result = ResultMatrixApart(input, dst, input.size(), input.type(), &fresh);
  cv::warpPerspective(input, result, forward, input.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT);
  AssignResult(result, dst);
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
