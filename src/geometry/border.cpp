// AddBorder.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <opencv2/core.hpp>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/pixel_copy.h"
#include "frame/result_matrix.h"
#include "frame/row_views.h"

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

// Whether the border of a pixel of so many samples has a value: a color tells four.
bool HasValue(const KelColorRGBA& color, int channels) {
  return channels <= 4 ||
         (color.red == color.green && color.red == color.blue && color.red == color.alpha);
}

template <class Sample>
void SetPixel(const KelColorRGBA& color, int channels, std::uint8_t* pixel) {
  const int interleaved[] = {color.blue, color.green, color.red, color.alpha};
  for (int i = 0; i < channels; ++i) {
    const auto sample = static_cast<Sample>(channels == 1 ? color.red : interleaved[i % 4]);
    std::memcpy(pixel + static_cast<std::size_t>(i) * sizeof(Sample), &sample, sizeof(Sample));
  }
}

// A row of pixels of the color.
void FillRow(const KelColorRGBA& color, const cv::Mat& image, std::uint8_t* row,
             std::size_t row_bytes) {
  if (image.depth() == CV_8U) {
    SetPixel<std::uint8_t>(color, image.channels(), row);
  } else {
    SetPixel<std::uint16_t>(color, image.channels(), row);
  }
  RepeatBytes(row, image.elemSize(), row_bytes);
}

// So many bytes of a result stay in the second cache until its border follows its pixels.
constexpr std::size_t kBytesAtOnce = 131072;

// What a result is made of: the input with its first pixel at the corner, pixels of the border row
// elsewhere.
struct Surrounding {
  const cv::Mat& input;
  cv::Point corner;
  const std::uint8_t* border_row;
};

void SurroundRows(const Surrounding& parts, bool streaming, const RowRange& rows,
                  const cv::Mat& result) {
  const Piece inner = WholeOf(parts.input, parts.corner);
  const std::size_t row_bytes = tbbup::RowBytes(result);
  const std::size_t left = static_cast<std::size_t>(parts.corner.x) * result.elemSize();
  const std::size_t end = left + static_cast<std::size_t>(parts.input.cols) * result.elemSize();
  const std::size_t right = row_bytes - end;
  const auto to = tbbup::RowsOf<std::uint8_t>(result, RowRange(0, result.rows));
  const auto fill = [&](int first, int count, std::size_t from, std::size_t bytes) {
    CopyByteRowsAlone({parts.border_row, 0}, {to[first] + from, to.step}, count, bytes);
  };
  const int top = std::clamp(parts.corner.y, rows.begin(), rows.end());
  const int bottom = std::clamp(parts.corner.y + parts.input.rows, rows.begin(), rows.end());
  fill(rows.begin(), top - rows.begin(), 0, row_bytes);
  fill(bottom, rows.end() - bottom, 0, row_bytes);
  if (top == bottom) {
    return;
  }
  const int rows_at_once = static_cast<int>(std::max<std::size_t>(kBytesAtOnce / row_bytes, 1));
  // Where rows follow each other without a gap, what is right of one and left of the next is one.
  const bool is_packed = result.step[0] == row_bytes;
  const int last = bottom - 1;
  for (int first = top, count = 0; first < bottom; first += count) {
    count = std::min(rows_at_once, bottom - first);
    CopyRows(inner, RowRange(first, first + count), result, streaming);
    if (is_packed) {
      fill(first, std::min(count, last - first), end, right + left);
    } else {
      fill(first, count, 0, left);
      fill(first, count, end, right);
    }
  }
  if (is_packed) {
    fill(top, 1, 0, left);
    fill(last, 1, end, right);
  }
}

void Surround(const Surrounding& parts, const cv::Mat& result) {
  const bool streaming = ShouldStream(WholeOf(parts.input));
  ForEachRepeatableRowRange(
      result.rows, 2 * tbbup::PixelBytes(result),
      [&](const RowRange& rows) { SurroundRows(parts, streaming, rows, result); },
      kSerialBytesOfCopy);
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
  if (!FitsInt(columns) || !FitsInt(rows) || !HasValue(color, input.channels())) {
    return ERR_BORDER_EXCEPTION;
  }
  try {
    const cv::Size size(static_cast<int>(columns), static_cast<int>(rows));
    SpareMatrix fresh;
    cv::Mat& result = ResultMatrixApart(input, dst, size, input.type(), &fresh);
    const std::size_t row_bytes = tbbup::RowBytes(result);
    cv::AutoBuffer<std::uint8_t> border_row(row_bytes);
    FillRow(color, input, border_row.data(), row_bytes);
    Surround({input, {left, top}, border_row.data()}, result);
    AssignResult(result, dst);
  } catch (...) {
    return ERR_BORDER_EXCEPTION;
  }
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
