// CreateConst, Copy.

#include <limits>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/pixel_copy.h"
#include "frame/result_matrix.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

struct Range {
  int lowest;
  int highest;
};

bool IsIn(const Range& range, int value) { return range.lowest <= value && value <= range.highest; }

// The values that a colour component of the type may have; any for types that are not listed.
Range ComponentRange(KelImageType type) {
  switch (type) {
    case KEL_8U:
      return {0, 255};
    case KEL_8S:
      return {-128, 127};
    case KEL_16U:
      return {0, 65535};
    case KEL_16S:
      return {-32768, 32767};
    case KEL_32S:
      return {std::numeric_limits<int>::min() + 1, std::numeric_limits<int>::max()};
    default:
      return {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
  }
}

// Of one channel only red counts. Blue of 32-bit samples is not looked at: callers rely on it.
Status CheckColor(const KelColorRGBA& color, KelImageType type, int channels) {
  const Range range = ComponentRange(type);
  if (!IsIn(range, color.red)) {
    return ERR_PARAM_5;
  }
  if (channels == 1) {
    return STATUS_OK;
  }
  const bool blue_fits = type == KEL_32S || IsIn(range, color.blue);
  return IsIn(range, color.green) && blue_fits && IsIn(range, color.alpha) ? STATUS_OK
                                                                           : ERR_PARAM_5;
}

cv::Scalar FillValue(const KelColorRGBA& color, int channels) {
  return channels == 1 ? cv::Scalar(color.red)
                       : cv::Scalar(color.blue, color.green, color.red, color.alpha);
}

// OpenCV converts the color, for one pixel: it would fill pixels of several bytes one at a time.
void Fill(const cv::Mat& image, const cv::Scalar& color) {
  cv::Mat(1, 1, image.type(), image.data) = color;
  RepeatBytes(image.data, image.elemSize(), tbbup::PixelBytes(image));
}

}  // namespace

KelLong KelImageOperation::CreateConst(KelImage* dst, int height, int width, KelImageType type,
                                       int channels, KelColorRGBA color) {
  CallLog log(log_lines::kCreateConst);
  if (height < 1) {
    return ERR_PARAM_1;
  }
  if (width < 1) {
    return ERR_PARAM_2;
  }
  if (type == KEL_32F || type == KEL_64F) {
    return ERR_PARAM_3;
  }
  if (channels != 1 && channels != 3 && channels != 4) {
    return ERR_PARAM_4;
  }
  KELRA_RETURN_IF_ERROR(CheckColor(color, type, channels));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  try {
    const cv::Size size(width, height);
    const int mat_type = CV_MAKETYPE(CV_MAT_DEPTH(type), channels);
    SpareMatrix fresh;
    const cv::Mat& result = NewMatrix(dst, size, mat_type, &fresh);
    Fill(result, FillValue(color, channels));
    AssignResult(result, dst);
  } catch (...) {
    return ERR_CREATE_EXCEPTION;
  }
  log.Exit();
  return STATUS_OK;
}

KelLong KelImageOperation::Copy(KelImage& src, KelImage* dst) {
  CallLog log(log_lines::kCopy);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  ComputePixelwise(src.Mat(), dst,
                   [](const cv::Mat& input, cv::Mat& result) { CopyPixels(input, result); });
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
