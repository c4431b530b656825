// AddBorder.

#include <cstdint>
#include <limits>
#include <opencv2/core.hpp>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/result_matrix.h"

namespace KELRA {
namespace {

// One channel has red alone; with more, alpha is checked too, whether or not there is a fourth.
Status CheckColor(const KelImage& image, const KelColorRGBA& color) {
  const auto fits = [largest = LargestSample(image.BitDepth())](int component) {
    return component >= 0 && component <= largest;
  };
  const bool all_fit =
      fits(color.red) &&
      (image.Channels() == 1 || (fits(color.green) && fits(color.blue) && fits(color.alpha)));
  return all_fit ? STATUS_OK : ERR_PARAM_5;
}

// In the order of interleaved samples.
cv::Scalar BorderValue(const KelColorRGBA& color, int channels) {
  return channels == 1 ? cv::Scalar(color.red)
                       : cv::Scalar(color.blue, color.green, color.red, color.alpha);
}

bool FitsInt(std::int64_t value) { return value <= std::numeric_limits<int>::max(); }

}  // namespace

KelLong KelImageOperation::AddBorder(KelImage& src, KelImage* dst, int left, int top, int right,
                                     int bottom, KelColorRGBA color) {
  CallLog log(log_lines::kAddBorder);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(left >= 0 ? STATUS_OK : ERR_PARAM_1);
  KELRA_RETURN_IF_ERROR(top >= 0 ? STATUS_OK : ERR_PARAM_2);
  KELRA_RETURN_IF_ERROR(right >= 0 ? STATUS_OK : ERR_PARAM_3);
  KELRA_RETURN_IF_ERROR(bottom >= 0 ? STATUS_OK : ERR_PARAM_4);
  KELRA_RETURN_IF_ERROR(CheckColor(src, color));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));

  const cv::Mat& input = src.Mat();
  const std::int64_t columns = std::int64_t{input.cols} + left + right;
  const std::int64_t rows = std::int64_t{input.rows} + top + bottom;
  if (!FitsInt(columns) || !FitsInt(rows)) {
    return ERR_BORDER_EXCEPTION;
  }
  try {
    const cv::Size size(static_cast<int>(columns), static_cast<int>(rows));
    cv::Mat fresh;
    cv::Mat& result = ResultMatrixApart(input, dst, size, input.type(), &fresh);
    // Isolated: the pixels around a part of a larger matrix do not become border.
    cv::copyMakeBorder(input, result, top, bottom, left, right,
                       cv::BORDER_CONSTANT | cv::BORDER_ISOLATED,
                       BorderValue(color, input.channels()));
    AssignResult(result, dst);
  } catch (...) {
    return ERR_BORDER_EXCEPTION;
  }
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
