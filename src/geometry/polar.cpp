// Warp, Unwarp.

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/result_matrix.h"
#include "frame/row_engine.h"
#include "geometry/polar_maps.h"

namespace KELRA {
namespace {

// The maps of so many pixels stay in a core's cache from their computation to their use.
constexpr int kStripPixels = 8192;

Status CheckCenter(const KelImage& src, float x, float y) {
  if (!(x >= 0 && x <= static_cast<float>(src.Width() - 1))) {
    return ERR_PARAM_1;
  }
  if (!(y >= 0 && y <= static_cast<float>(src.Height() - 1))) {
    return ERR_PARAM_2;
  }
  return STATUS_OK;
}

Status CheckSector(float start_angle, float end_angle, int inner_radius, int outer_radius) {
  if (!(start_angle >= 0 && start_angle <= 360)) {
    return ERR_PARAM_3;
  }
  if (!(end_angle > 0 && end_angle <= 360)) {
    return ERR_PARAM_4;
  }
  if (start_angle >= end_angle) {
    return ERR_PARAM_3;
  }
  if (inner_radius < 0) {
    return ERR_PARAM_5;
  }
  if (outer_radius <= 0) {
    return ERR_PARAM_6;
  }
  return inner_radius < outer_radius ? STATUS_OK : ERR_PARAM_5;
}

// A result of the input's size and type, whose pixels `map` takes from the input. What lies outside
// the input is 0.
template <class Map>
void Remap(const cv::Mat& input, const Map& map, KelImage* dst) {
  SpareMatrix fresh;
  cv::Mat& result = ResultMatrixApart(input, dst, input.size(), input.type(), &fresh);
  const int strip_rows = std::max(1, kStripPixels / input.cols);
  const std::size_t map_bytes = 2 * sizeof(float);
  const std::size_t bytes = 2 * input.total() * (input.elemSize() + map_bytes);
  ForEachRowRange(input.rows, bytes, [&](const RowRange& range) {
    const int buffered = std::min(strip_rows, range.end() - range.begin());
    cv::Mat column_buffer(buffered, input.cols, CV_32F);
    cv::Mat row_buffer(buffered, input.cols, CV_32F);
    for (int begin = range.begin(); begin < range.end(); begin += strip_rows) {
      const int end = std::min(begin + strip_rows, range.end());
      cv::Mat source_columns = column_buffer.rowRange(0, end - begin);
      cv::Mat source_rows = row_buffer.rowRange(0, end - begin);
      map.ComputeRows(begin, &source_columns, &source_rows);
      cv::Mat strip = result.rowRange(begin, end);
      cv::remap(input, strip, source_columns, source_rows, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    }
  });
  AssignResult(result, dst);
}

// The pixel work of Unwarp, logged under its own name.
void RollUp(const cv::Mat& strip, cv::Point2d center, const RingSector& sector, KelImage* dst) {
  CallLog log(log_lines::kPolarInverse);
  Remap(strip, RollingMap(strip.size(), center, sector), dst);
  log.Exit();
}

}  // namespace

KelLong KelImageOperation::Warp(KelImage& src, KelImage* dst, float centerX, float centerY) {
  CallLog log(log_lines::kWarp);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckCenter(src, centerX, centerY));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  Remap(src.Mat(), UnrollingMap(src.Mat().size(), cv::Point2d(centerX, centerY)), dst);
  log.Exit();
  return STATUS_OK;
}

KelLong KelImageOperation::Unwarp(KelImage& src, KelImage* dst, float centerX, float centerY,
                                  float startAngle, float endAngle, int innerRadius,
                                  int outerRadius) {
  CallLog log(log_lines::kUnwarp);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckCenter(src, centerX, centerY));
  KELRA_RETURN_IF_ERROR(CheckSector(startAngle, endAngle, innerRadius, outerRadius));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  RollUp(src.Mat(), cv::Point2d(centerX, centerY),
         RingSector{startAngle, endAngle, static_cast<double>(innerRadius),
                    static_cast<double>(outerRadius)},
         dst);
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
