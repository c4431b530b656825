#include "twoimage/placed_images.h"

#include <cstring>
#include <opencv2/imgproc.hpp>

#include "frame/result_matrix.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

// Rows of it, as OpenCV's copy of a part takes as long before its first byte as a small image.
void CopyPart(const cv::Mat& from, const cv::Rect& part, cv::Mat* to) {
  const std::size_t start = from.elemSize() * static_cast<std::size_t>(part.x);
  const std::size_t bytes = from.elemSize() * static_cast<std::size_t>(part.width);
  if (bytes == 0) {
    return;
  }
  for (int row = part.y; row < part.y + part.height; ++row) {
    std::memcpy(to->ptr(row) + start, from.ptr(row) + start, bytes);
  }
}

// All but the hole, which is empty or inside the image.
void CopyAround(const cv::Mat& from, const cv::Rect& hole, cv::Mat* to) {
  const int right = hole.x + hole.width;
  const int below = hole.y + hole.height;
  CopyPart(from, {0, 0, from.cols, hole.y}, to);
  CopyPart(from, {0, hole.y, hole.x, hole.height}, to);
  CopyPart(from, {right, hole.y, from.cols - right, hole.height}, to);
  CopyPart(from, {0, below, from.cols, from.rows - below}, to);
}

// The output gets the first image, and at `at` what `write` makes of that part of it.
using WriteCovered = FunctionRef<void(const cv::Mat& first, cv::Mat* result)>;
void WriteOver(const cv::Mat& first, const cv::Rect& at, KelImage* output, WriteCovered write) {
  SpareMatrix fresh;
  cv::Mat& result = ResultMatrix(output, first.size(), first.type(), &fresh);
  SpareMatrix first_copy;
  const cv::Mat& base = InputToReadWhileWriting(result, first, &first_copy);
  if (at.size() == first.size()) {
    write(base, &result);
  } else if (!at.empty()) {
    cv::Mat covered = result(at);
    write(base(at), &covered);
  }
  // The rest comes last: it may lie where the second image has been read.
  if (result.data != base.data) {
    CopyAround(base, at, &result);
  }
  AssignResult(result, output);
}

}  // namespace

Status CheckPosition(const cv::Mat& image, const KelPoint& position) {
  const bool inside =
      position.x >= 0 && position.x < image.cols && position.y >= 0 && position.y < image.rows;
  return inside ? STATUS_OK : ERR_PARAM_1;
}

Status CheckAngle(double angle) { return angle >= 0 && angle <= 360 ? STATUS_OK : ERR_PARAM_2; }

void PromoteToColor(cv::Mat& first, cv::Mat& second) {
  if (first.channels() == second.channels()) {
    return;
  }
  for (cv::Mat* image : {&first, &second}) {
    if (image->channels() == 1) {
      cv::cvtColor(*image, *image, cv::COLOR_GRAY2BGR);
      return;
    }
  }
}

void CombinePlaced(const cv::Mat& first, const cv::Mat& second, const Placement& placement,
                   KelImage* output, Combine combine) {
  WriteOver(first, placement.on_first, output, [&](const cv::Mat& covered, cv::Mat* result) {
    SpareMatrix copy;
    if (covered.size() == second.size()) {
      combine(covered, InputToReadWhileWriting(*result, second, &copy), result);
    } else {
      const cv::Mat covering = second(placement.OnSecond());
      combine(covered, InputToReadWhileWriting(*result, covering, &copy), result);
    }
  });
}

void CombineTurned(const cv::Mat& first, TurnedStrips* turned, const cv::Rect& at, bool with_mask,
                   KelImage* output, CombineStrip combine) {
  WriteOver(first, at, output, [&](const cv::Mat& covered, cv::Mat* result) {
    turned->KeepApartFrom(*result);
    turned->ForEach(with_mask, [&](const RowRange& rows, cv::Mat& pixels, const cv::Mat& mask) {
      cv::Mat part = tbbup::HeaderOfRows(*result, rows);
      combine(tbbup::HeaderOfRows(covered, rows), pixels, mask, &part);
    });
  });
}

}  // namespace KELRA
