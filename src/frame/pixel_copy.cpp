#include "frame/pixel_copy.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "frame/cache_size.h"
#include "frame/kernels/row_kernels.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

using kernels::Rows;

// What copying the piece reads and writes.
std::size_t BytesMoved(const Piece& piece) {
  return 2 * static_cast<std::size_t>(piece.part.width) *
         static_cast<std::size_t>(piece.part.height) * piece.pixels->elemSize();
}

// Through the caches nothing copies longer rows faster than the C library; for shorter ones a call
// of it each takes longer than their bytes.
constexpr std::ptrdiff_t kShortRow = 512;

// As long a row of repeated bytes stays in the nearest cache beside those that it is copied to.
constexpr std::size_t kRepeatedRow = 4096;

template <class Byte>
Rows<Byte> RowsFrom(const cv::Mat& mat, cv::Point first = {}) {
  return {mat.data + mat.step[0] * static_cast<std::size_t>(first.y) +
              mat.elemSize() * static_cast<std::size_t>(first.x),
          static_cast<std::ptrdiff_t>(mat.step[0])};
}

}  // namespace

bool ShouldStream(const Piece& piece) { return ExceedsCaches(BytesMoved(piece)); }

void CopyByteRows(Rows<const std::uint8_t> src, Rows<std::uint8_t> dst, int rows,
                  std::size_t bytes) {
  const std::size_t written = static_cast<std::size_t>(rows) * bytes;
  // One row that is copied again and again stays in the nearest cache.
  const std::size_t moved = src.step == 0 ? written : 2 * written;
  const bool streaming = ExceedsCaches(moved);
  ForEachRepeatableRowRange(
      rows, moved,
      [&](const RowRange& range) {
        CopyByteRowsAlone({src[range.begin()], src.step}, {dst[range.begin()], dst.step},
                          static_cast<int>(range.size()), bytes, streaming);
      },
      kSerialBytesOfCopy);
}

void CopyByteRowsAlone(Rows<const std::uint8_t> src, Rows<std::uint8_t> dst, int rows,
                       std::size_t bytes, bool streaming) {
  std::ptrdiff_t count = rows;
  auto row_bytes = static_cast<std::ptrdiff_t>(bytes);
  // Rows that follow each other without a gap are one long row.
  if (src.step == row_bytes && dst.step == row_bytes) {
    row_bytes *= std::exchange(count, 1);
  }
  if (streaming || row_bytes <= kShortRow) {
    kernels::ActiveRowKernels().copy(src, dst, {count, row_bytes, row_bytes, streaming});
    return;
  }
  for (std::ptrdiff_t row = 0; row < count; ++row) {
    std::memcpy(dst[row], src[row], static_cast<std::size_t>(row_bytes));
  }
}

void RepeatBytes(std::uint8_t* bytes, std::size_t given, std::size_t size) {
  // On one thread the C library fills faster than it copies rows.
  if (given == 1 && size < kSerialBytesOfCopy) {
    std::memset(bytes, bytes[0], size);
    return;
  }
  std::size_t row = given;
  for (const std::size_t enough = std::min(kRepeatedRow, size); row < enough;) {
    const std::size_t added = std::min(row, size - row);
    std::memcpy(bytes + row, bytes, added);
    row += added;
  }
  const std::size_t rows = size / row;
  CopyByteRows({bytes, 0}, {bytes + row, static_cast<std::ptrdiff_t>(row)},
               static_cast<int>(rows - 1), row);
  std::memcpy(bytes + rows * row, bytes, size % row);
}

void CopyRows(const Piece& piece, const RowRange& rows, const cv::Mat& to, bool streaming) {
  const int begin = std::max(rows.begin(), piece.target.y);
  const int end = std::min(rows.end(), piece.target.y + piece.part.height);
  if (begin >= end) {
    return;
  }
  const cv::Point source(piece.part.x, piece.part.y + begin - piece.target.y);
  const auto src = RowsFrom<const std::uint8_t>(*piece.pixels, source);
  const auto dst = RowsFrom<std::uint8_t>(to, {piece.target.x, begin});
  CopyByteRowsAlone(src, dst, end - begin,
                    to.elemSize() * static_cast<std::size_t>(piece.part.width), streaming);
}

void CopyPixels(const cv::Mat& from, const cv::Mat& to) {
  if (from.data != to.data) {
    CopyByteRows(RowsFrom<const std::uint8_t>(from), RowsFrom<std::uint8_t>(to), to.rows,
                 tbbup::RowBytes(to));
  }
}

void CopyPixelsAlone(const cv::Mat& from, const cv::Mat& to) {
  if (from.data != to.data) {
    const std::size_t moved = 2 * static_cast<std::size_t>(to.rows) * tbbup::RowBytes(to);
    CopyByteRowsAlone(RowsFrom<const std::uint8_t>(from), RowsFrom<std::uint8_t>(to), to.rows,
                      tbbup::RowBytes(to), ExceedsCaches(moved));
  }
}

void CopyPieces(std::span<const Piece> pieces, const cv::Mat& to) {
  std::size_t bytes = 0;
  for (const Piece& piece : pieces) {
    bytes += BytesMoved(piece);
  }
  const bool streaming = ExceedsCaches(bytes);
  ForEachRepeatableRowRange(
      to.rows, bytes,
      [&](const RowRange& rows) {
        for (const Piece& piece : pieces) {
          CopyRows(piece, rows, to, streaming);
        }
      },
      kSerialBytesOfCopy);
}

}  // namespace KELRA
