// ImageConvertBITMAP.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/pixel_copy.h"
#include "frame/result_matrix.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

// Owns a bitmap and deletes it.
class OwnedBitmap {
 public:
  explicit OwnedBitmap(KelLong handle)
      : handle_(reinterpret_cast<HBITMAP>(static_cast<std::intptr_t>(handle))) {}
  ~OwnedBitmap() { DeleteObject(handle_); }
  OwnedBitmap(const OwnedBitmap&) = delete;
  OwnedBitmap& operator=(const OwnedBitmap&) = delete;

  // A record without a size when the handle is no bitmap's.
  BITMAP Record() const {
    BITMAP record{};
    constexpr int kSize = sizeof(record);
    return GetObjectW(handle_, kSize, &record) == kSize ? record : BITMAP{};
  }

 private:
  HBITMAP handle_;
};

int BytesPerPixel(const BITMAP& bitmap) {
  return bitmap.bmBitsPixel == 1 ? 1 : bitmap.bmBitsPixel / 8;
}

Status CheckBitmap(const BITMAP& bitmap, int height, int width, int bits_per_channel, int channels,
                   int top_down) {
  if (bitmap.bmWidth < 1 || bitmap.bmHeight < 1 || bitmap.bmBits == nullptr) {
    return ERR_PARAM_1;
  }
  if (height != bitmap.bmHeight) {
    return ERR_PARAM_2;
  }
  if (width != bitmap.bmWidth) {
    return ERR_PARAM_3;
  }
  if (bits_per_channel != 8) {
    return ERR_PARAM_4;
  }
  if (channels != 1 && channels != 3 && channels != 4) {
    return ERR_PARAM_5;
  }
  if (top_down != 0 && top_down != 1) {
    return ERR_PARAM_6;
  }
  return channels == BytesPerPixel(bitmap) ? STATUS_OK : ERR_PARAM_5;
}

// The bitmap's memory, a row of bytes per row.
cv::Mat BytesOf(const BITMAP& bitmap) {
  return cv::Mat(bitmap.bmHeight, bitmap.bmWidthBytes, CV_8UC1, bitmap.bmBits);
}

// Copies the bytes from `offset` on, and zeros for those behind the end of `bytes`.
void CopyRow(const cv::Mat& bytes, std::size_t offset, std::uint8_t* row, std::size_t row_bytes) {
  const std::size_t end = bytes.total();
  const std::size_t available = offset < end ? std::min(row_bytes, end - offset) : 0;
  if (available > 0) {
    std::memcpy(row, bytes.data + offset, available);
  }
  if (available < row_bytes) {
    std::memset(row + available, 0, row_bytes - available);
  }
}

// The bitmap's rows as those of the result, the last one first unless `top_down`.
void CopyInOrder(const cv::Mat& bytes, bool top_down, const cv::Mat& result) {
  const std::size_t row_bytes = result.elemSize() * static_cast<std::size_t>(result.cols);
  const auto from = tbbup::RowsOf<const std::uint8_t>(bytes, RowRange(0, bytes.rows));
  const auto to = tbbup::RowsOf<std::uint8_t>(result, RowRange(0, result.rows));
  if (bytes.step[0] >= row_bytes) {
    // The bitmap's order either way: the processor fetches ahead what is read onwards.
    const kernels::Rows<std::uint8_t> upwards{to[result.rows - 1], -to.step};
    CopyByteRows(from, top_down ? to : upwards, result.rows, row_bytes);
    return;
  }
  // A pixel of one bit counts as a byte: rows run into the next, and the last out of the bitmap.
  for (int row = 0; row < result.rows; ++row) {
    const int stored = top_down ? row : result.rows - 1 - row;
    CopyRow(bytes, bytes.step[0] * static_cast<std::size_t>(stored), to[row], row_bytes);
  }
}

Status ConvertBitmap(KelImage* dst, KelLong handle, int height, int width, int bits_per_channel,
                     int channels, int top_down) {
  CallLog log(log_lines::kImageConvertBitmap);
  if (handle == 0) {
    return ERR_PARAM_1;
  }
  const OwnedBitmap owned(handle);
  const BITMAP bitmap = owned.Record();
  KELRA_RETURN_IF_ERROR(CheckBitmap(bitmap, height, width, bits_per_channel, channels, top_down));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));

  const cv::Mat bytes = BytesOf(bitmap);
  SpareMatrix fresh;
  cv::Mat* result = &ResultMatrix(dst, {width, height}, CV_8UC(channels), &fresh);
  if (SharesPixels(*result, bytes)) {
    // The bitmap's memory ends with it.
    result = &fresh.Create({width, height}, CV_8UC(channels));
  }
  CopyInOrder(bytes, top_down == 1, *result);
  AssignResult(*result, dst);
  log.Exit();
  return STATUS_OK;
}

}  // namespace

KelLong KelImageOperation::ImageConvertBITMAP(KelImage* dst, KelLong bitmap, int height, int width,
                                              int bitsPerChannel, int channels, int topDown) {
  return ConvertBitmap(dst, bitmap, height, width, bitsPerChannel, channels, topDown);
}

}  // namespace KELRA
