// ImageConvert, ImageDepthConvert.

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/result_matrix.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

bool IsImageType(KelImageType type) { return type >= KEL_8U && type <= KEL_64F; }

Status CheckBuffer(const void* buffer, int height, int width, KelImageType type, int channels,
                   int stride) {
  if (buffer == nullptr) {
    return ERR_PARAM_1;
  }
  if (height < 1) {
    return ERR_PARAM_2;
  }
  if (width < 1) {
    return ERR_PARAM_3;
  }
  // Checked before the type, though numbered after it.
  if (channels != 1 && channels != 3 && channels != 4) {
    return ERR_PARAM_5;
  }
  if (!IsImageType(type)) {
    return ERR_PARAM_4;
  }
  return stride >= 0 ? STATUS_OK : ERR_PARAM_6;
}

template <class From, class To>
void ConvertRows(const cv::Mat& input, cv::Mat& result,
                 void (*kernel)(kernels::Rows<const From>, kernels::Rows<To>,
                                const kernels::Extent&)) {
  const std::size_t bytes = tbbup::PixelBytes(input) + tbbup::PixelBytes(result);
  ForEachRowRange(input.rows, bytes, [&](const RowRange& rows) {
    kernel(tbbup::RowsOf<const From>(input, rows), tbbup::RowsOf<To>(result, rows),
           tbbup::Optimized(tbbup::BlocksOnly(input, rows), result, input));
  });
}

// OpenCV's conversion, for the usual pairs of depths by the row kernels.
void ConvertDepth(const cv::Mat& input, cv::Mat& result) {
  const kernels::DepthConversions& conversions = kernels::ActiveRowKernels().depth;
  if (input.depth() == CV_8U && result.depth() == CV_16U) {
    ConvertRows(input, result, conversions.to_words);
  } else if (input.depth() == CV_16U && result.depth() == CV_8U) {
    ConvertRows(input, result, conversions.to_bytes);
  } else {
    input.convertTo(result, result.depth());
  }
}

}  // namespace

KelLong KelImageOperation::ImageConvert(void* buffer, KelImage* dst, int height, int width,
                                        KelImageType type, int channels, int stride) {
  CallLog log(log_lines::kImageConvert);
  KELRA_RETURN_IF_ERROR(CheckBuffer(buffer, height, width, type, channels, stride));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  try {
    // Rows are packed whatever the stride: callers rely on it.
    dst->Mat() = cv::Mat(height, width, CV_MAKETYPE(type, channels), buffer);
    log.Exit();
    return STATUS_OK;
  } catch (...) {
    return ERR_CONVERT_EXCEPTION;
  }
}

KelLong KelImageOperation::ImageDepthConvert(KelImage& src, KelImage* dst, KelImageType type) {
  CallLog log(log_lines::kImageDepthConvert);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  if (!IsImageType(type)) {
    return ERR_PARAM_1;
  }
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));

  const cv::Mat& input = src.Mat();
  ComputePixelwise(input, CV_MAKETYPE(type, input.channels()), dst,
                   [](const cv::Mat& from, cv::Mat& to) { ConvertDepth(from, to); });
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
