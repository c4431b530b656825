// Paste of one image.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/pixel_copy.h"
#include "frame/result_matrix.h"
#include "twoimage/turned_image.h"

namespace KELRA {
namespace {

constexpr std::int64_t kLargestInt = std::numeric_limits<int>::max();

// Columns and rows that a canvas grows by.
struct Growth {
  std::int64_t left, top, right, bottom;
};

bool IsNone(const Growth& growth) {
  return (growth.left | growth.top | growth.right | growth.bottom) == 0;
}

// Whether the coordinate, truncated toward zero, is an int.
bool FitsInt(double coordinate) { return coordinate > -2147483649.0 && coordinate < 2147483648.0; }

// Whether the coordinate, truncated toward zero, lies in [0, size]. NaN does not.
bool IsOnCanvas(double coordinate, int size) {
  return coordinate > -1.0 && coordinate < size + 1.0;
}

Growth GrowthFor(const cv::Mat& canvas, const cv::Rect& pasted) {
  const auto beyond = [](int begin, int extent, int size) {
    return std::max<std::int64_t>(std::int64_t{begin} + extent - size, 0);
  };
  return {0, 0, beyond(pasted.x, pasted.width, canvas.cols),
          beyond(pasted.y, pasted.height, canvas.rows)};
}

Growth GrowthFor(const cv::Mat& canvas, const TurnedExtent& extent) {
  const auto whole = [](double excess) {
    return excess > 0 ? static_cast<std::int64_t>(excess) : 0;
  };
  return {whole(-extent.min_x), whole(-extent.min_y), whole(extent.max_x - canvas.cols),
          whole(extent.max_y - canvas.rows)};
}

// ERR_PARAM_1: no matrix can be as large as the canvas would have to grow for the position.
Status CheckGrowth(const cv::Mat& canvas, const Growth& growth) {
  return canvas.cols + growth.left + growth.right <= kLargestInt &&
                 canvas.rows + growth.top + growth.bottom <= kLargestInt
             ? STATUS_OK
             : ERR_PARAM_1;
}

// The canvas grown by zeros, where `image` can be pasted. It is the output's own matrix where
// nothing is in the way; a canvas that is the output and need not grow is not even copied.
cv::Mat& Grown(const cv::Mat& canvas, const Growth& growth, const cv::Mat& image, KelImage* output,
               cv::Mat* fresh) {
  cv::Mat& own = output->Mat();
  const bool image_in_output = SharesPixels(image, own);
  if (!image_in_output && IsNone(growth) && own.data == canvas.data && own.step == canvas.step &&
      own.size() == canvas.size() && own.type() == canvas.type()) {
    return own;
  }
  const int left = static_cast<int>(growth.left);
  const int top = static_cast<int>(growth.top);
  const int right = static_cast<int>(growth.right);
  const int bottom = static_cast<int>(growth.bottom);
  const cv::Size size(canvas.cols + left + right, canvas.rows + top + bottom);
  if (image_in_output) {
    fresh->create(size, canvas.type());
  }
  cv::Mat& result =
      image_in_output ? *fresh : ResultMatrixApart(canvas, output, size, canvas.type(), fresh);
  if (IsNone(growth)) {
    CopyPixels(canvas, result);
  } else {
    cv::copyMakeBorder(canvas, result, top, bottom, left, right,
                       cv::BORDER_CONSTANT | cv::BORDER_ISOLATED);
  }
  return result;
}

// The work of Paste once no coordinate is negative, logged under its own name. Only a turned paste
// logs its exit.
Status PasteOnto(const KelImage& canvas, const KelImage& pasted, KelImage* result,
                 const KelPoint& position, double angle) {
  CallLog log(log_lines::kPasteOper);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(canvas));
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(pasted));
  if (!IsOnCanvas(position.x, canvas.Width()) || !IsOnCanvas(position.y, canvas.Height())) {
    return ERR_PARAM_1;
  }
  if (!(angle >= 0 && angle <= 360)) {
    return ERR_PARAM_2;
  }
  const bool turned = angle != 0;
  if (turned) {
    KELRA_RETURN_IF_ERROR(CheckChannels(pasted));
  }
  KELRA_RETURN_IF_ERROR(CheckOutput(result));

  const cv::Mat& image = pasted.Mat();
  const int x = static_cast<int>(position.x);
  const int y = static_cast<int>(position.y);
  cv::Mat fresh;
  if (!turned) {
    const cv::Rect target(cv::Point(x, y), image.size());
    const Growth growth = GrowthFor(canvas.Mat(), target);
    KELRA_RETURN_IF_ERROR(CheckGrowth(canvas.Mat(), growth));
    cv::Mat& grown = Grown(canvas.Mat(), growth, image, result, &fresh);
    image.copyTo(grown(target));
    AssignResult(grown, result);
    return STATUS_OK;
  }
  const TurnedExtent extent = ExtentOfTurned(image.size(), angle, x, y);
  const Growth growth = GrowthFor(canvas.Mat(), extent);
  KELRA_RETURN_IF_ERROR(CheckGrowth(canvas.Mat(), growth));
  cv::Mat& grown = Grown(canvas.Mat(), growth, image, result, &fresh);
  PasteTurned(image, angle, extent, &grown);
  AssignResult(grown, result);
  log.Exit();
  return STATUS_OK;
}

// The border that brings a negative coordinate to 0.
int BorderBefore(double coordinate) {
  return static_cast<int>(std::clamp(-std::trunc(coordinate), 0.0, 2147483647.0));
}

}  // namespace

KelLong KelImageOperation::Paste(KelImage& image1, KelImage& image2, KelImage* result,
                                 KelPoint& position, double angle) {
  CallLog log(log_lines::kPaste);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(image1));
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(image2));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(image1));
  KELRA_RETURN_IF_ERROR(CheckSameDepth(image1, image2));
  if (image1.Channels() != image2.Channels()) {
    return ERR_CHANNEL_MISMATCH;
  }
  // The work refuses what is no integer.
  const bool is_negative = position.x <= -1 || position.y <= -1;
  if (!is_negative || !FitsInt(position.x) || !FitsInt(position.y)) {
    return PasteOnto(image1, image2, result, position, angle);
  }
  KelImage grown;
  // A canvas that cannot grow stays empty, which the work tells.
  AddBorder(image1, &grown, BorderBefore(position.x), BorderBefore(position.y), 0, 0,
            KelColorRGBA{});
  const KelPoint corner{std::max(std::trunc(position.x), 0.0),
                        std::max(std::trunc(position.y), 0.0)};
  return PasteOnto(grown, image2, result, corner, angle);
}

}  // namespace KELRA
