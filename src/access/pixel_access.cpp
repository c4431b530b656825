// GetPixelValue, SetPixelValue.

#include <cstddef>
#include <cstdint>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/pixel_copy.h"
#include "frame/result_matrix.h"

namespace KELRA {
namespace {

// Row, column and channel are the first three checked parameters of both methods. Rows and columns
// count from 0, channels from 1.
Status CheckPosition(const cv::Mat& mat, int row, int column, int channel) {
  if (row < 0 || row >= mat.rows) {
    return ERR_PARAM_1;
  }
  if (column < 0 || column >= mat.cols) {
    return ERR_PARAM_2;
  }
  return channel >= 1 && channel <= mat.channels() ? STATUS_OK : ERR_PARAM_3;
}

// Images of other channel counts are neither read nor written.
bool IsAccessible(const cv::Mat& mat) {
  return mat.channels() == 1 || mat.channels() == 3 || mat.channels() == 4;
}

// Samples from one pixel to the next where 16-bit images are read: those of 4 channels as if they
// had 3, which callers rely on. The pitch is never above the channel count, so no position inside
// the image is read from outside it.
int ReadingPitch16(const cv::Mat& mat) { return mat.channels() == 1 ? 1 : 3; }

std::ptrdiff_t SampleInRow(int column, int pitch, int channel) {
  return std::ptrdiff_t{column} * pitch + (channel - 1);
}

void SetSample(cv::Mat* mat, int row, int column, int channel, double value) {
  const std::ptrdiff_t sample = SampleInRow(column, mat->channels(), channel);
  if (!IsAccessible(*mat)) {
    return;
  }
  if (mat->depth() == CV_8U) {
    mat->ptr<std::uint8_t>(row)[sample] = static_cast<std::uint8_t>(value);
  } else {
    mat->ptr<std::uint16_t>(row)[sample] = static_cast<std::uint16_t>(value);
  }
}

}  // namespace

KelLong KelImageOperation::GetPixelValue(KelImage& src, int row, int column, int channel,
                                         double* value) {
  CallLog log(log_lines::kGetPixelValue);
  const cv::Mat& mat = src.Mat();
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(mat));
  KELRA_RETURN_IF_ERROR(CheckPosition(mat, row, column, channel));
  if (value == nullptr) {
    return ERR_PARAM_4;
  }
  KELRA_RETURN_IF_ERROR(CheckBitDepth(mat));
  try {
    if (IsAccessible(mat) && mat.depth() == CV_8U) {
      *value = mat.ptr<std::uint8_t>(row)[SampleInRow(column, mat.channels(), channel)];
    } else if (IsAccessible(mat)) {
      *value = mat.ptr<std::uint16_t>(row)[SampleInRow(column, ReadingPitch16(mat), channel)];
    }
    log.Exit();
    return STATUS_OK;
  } catch (...) {
    return ERR_GET_PIXEL_EXCEPTION;
  }
}

KelLong KelImageOperation::SetPixelValue(KelImage& src, KelImage* dst, int row, int column,
                                         int channel, double value) {
  CallLog log(log_lines::kSetPixelValue);
  const cv::Mat& mat = src.Mat();
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(mat));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(mat));
  KELRA_RETURN_IF_ERROR(CheckPosition(mat, row, column, channel));
  if (!(value >= 0.0 && value <= LargestSample(mat.depth()))) {  // NaN neither
    return ERR_PARAM_4;
  }
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  try {
    ComputePixelwise(mat, dst, [&](const cv::Mat& input, cv::Mat& result) {
      CopyPixelsAlone(input, result);
      SetSample(&result, row, column, channel, value);
    });
    log.Exit();
    return STATUS_OK;
  } catch (...) {
    return ERR_SET_PIXEL_EXCEPTION;
  }
}

}  // namespace KELRA
