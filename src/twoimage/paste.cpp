// Paste of one image.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>

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

// Whether both are the same pixels.
bool IsSame(const cv::Mat& a, const cv::Mat& b) {
  return a.data == b.data && a.step == b.step && a.size() == b.size() && a.type() == b.type();
}

// A matrix for the canvas, grown, and `image` on it: the output's own where nothing is in the way,
// also when that is the canvas.
cv::Mat& MatrixForGrown(const cv::Mat& canvas, const Growth& growth, const cv::Mat& image,
                        KelImage* output, SpareMatrix* fresh) {
  cv::Mat& own = output->Mat();
  const cv::Size size(canvas.cols + static_cast<int>(growth.left + growth.right),
                      canvas.rows + static_cast<int>(growth.top + growth.bottom));
  if (SharesPixels(image, own)) {
    return fresh->Create(size, canvas.type());
  }
  if (IsNone(growth) && IsSame(canvas, own)) {
    return own;
  }
  return ResultMatrixApart(canvas, output, size, canvas.type(), fresh);
}

// The canvas grown by zeros.
void CopyGrown(const cv::Mat& canvas, const Growth& growth, cv::Mat& grown) {
  if (IsNone(growth)) {
    CopyPixels(canvas, grown);
  } else {
    cv::copyMakeBorder(canvas, grown, static_cast<int>(growth.top), static_cast<int>(growth.bottom),
                       static_cast<int>(growth.left), static_cast<int>(growth.right),
                       cv::BORDER_CONSTANT | cv::BORDER_ISOLATED);
  }
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
  SpareMatrix fresh;
  if (!turned) {
    const cv::Rect target(cv::Point(x, y), image.size());
    const Growth growth = GrowthFor(canvas.Mat(), target);
    KELRA_RETURN_IF_ERROR(CheckGrowth(canvas.Mat(), growth));
    cv::Mat& grown = MatrixForGrown(canvas.Mat(), growth, image, result, &fresh);
    const Piece pieces[] = {WholeOf(canvas.Mat()), WholeOf(image, target.tl())};
    if (IsNone(growth) && grown.data != canvas.Mat().data) {
      CopyPieces(pieces, grown);
    } else {
      CopyGrown(canvas.Mat(), growth, grown);
      CopyPieces(std::span(pieces).last(1), grown);
    }
    AssignResult(grown, result);
    return STATUS_OK;
  }
  const TurnedExtent extent = ExtentOfTurned(image.size(), angle, x, y);
  const Growth growth = GrowthFor(canvas.Mat(), extent);
  KELRA_RETURN_IF_ERROR(CheckGrowth(canvas.Mat(), growth));
  cv::Mat& grown = MatrixForGrown(canvas.Mat(), growth, image, result, &fresh);
  CopyGrown(canvas.Mat(), growth, grown);
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
