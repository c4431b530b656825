// ImageRowSeparate.

#include <algorithm>
#include <cstddef>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"

namespace KELRA {
namespace {

Status CheckSeparable(const KelImage& image, int count) {
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(image));
  if (image.BitDepth() != KEL_8U) {
    return ERR_BIT_DEPTH;
  }
  if (image.Height() < 2) {
    return ERR_IMAGE_EMPTY;
  }
  if (image.Channels() > 1) {
    return ERR_NOT_SINGLE_CHANNEL;
  }
  return count >= 2 && count <= image.Height() ? STATUS_OK : ERR_PARAM_1;
}

// Every count-th row from `first` on, and one more when rows are left over for this image: the same
// for all images that get one, which callers rely on.
cv::Mat EveryNthRow(const cv::Mat& input, int first, int count) {
  const int share = input.rows / count;
  const int left_over = input.rows % count;
  cv::Mat part(first < left_over ? share + 1 : share, input.cols, input.type());
  for (int row = 0; row < part.rows; ++row) {
    const int from = row < share ? first + row * count : count * share;
    std::copy_n(input.ptr(from), input.cols, part.ptr(row));
  }
  return part;
}

}  // namespace

KelLong KelImageOperation::ImageRowSeparate(KelImage& src, KelImageArray* dst, int count) {
  CallLog log(log_lines::kImageRowSeparate);
  KELRA_RETURN_IF_ERROR(CheckSeparable(src, count));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));

  // Made before the array is cleared, which may hold the input.
  std::vector<KelImage> parts;
  parts.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    parts.emplace_back(EveryNthRow(src.Mat(), i, count));
  }
  dst->Clear();
  for (const KelImage& part : parts) {
    dst->Append(part);
  }
  if (dst->Length() != count) {
    return ERR_DEPTH_MISMATCH;
  }
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
