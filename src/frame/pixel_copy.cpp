#include "frame/pixel_copy.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/cache_size.h"
#include "frame/kernels/row_kernels.h"

namespace KELRA {
namespace {

using kernels::Rows;

// What copying the piece reads and writes.
std::size_t BytesMoved(const Piece& piece) {
  return 2 * static_cast<std::size_t>(piece.part.width) *
         static_cast<std::size_t>(piece.part.height) * piece.pixels->elemSize();
}

// A copy of fewer is done within some tens of microseconds: too little to wait for a second thread
// that may be late.
constexpr std::size_t kSerialBytesOfCopy = std::size_t{4} * 1024 * 1024;

bool ExceedsCaches(std::size_t bytes) { return bytes > LastLevelCacheBytes(); }

template <class Byte>
Rows<Byte> RowsFrom(const cv::Mat& mat, cv::Point first, std::size_t pixel_bytes) {
  return {mat.data + mat.step[0] * static_cast<std::size_t>(first.y) +
              pixel_bytes * static_cast<std::size_t>(first.x),
          static_cast<std::ptrdiff_t>(mat.step[0])};
}

}  // namespace

bool ShouldStream(const Piece& piece) { return ExceedsCaches(BytesMoved(piece)); }

void CopyRows(const Piece& piece, const RowRange& rows, const cv::Mat& to, bool streaming) {
  const int begin = std::max(rows.begin(), piece.target.y);
  const int end = std::min(rows.end(), piece.target.y + piece.part.height);
  if (begin >= end) {
    return;
  }
  const std::size_t pixel_bytes = to.elemSize();
  const cv::Point source(piece.part.x, piece.part.y + begin - piece.target.y);
  const auto src = RowsFrom<const std::uint8_t>(*piece.pixels, source, pixel_bytes);
  const auto dst = RowsFrom<std::uint8_t>(to, {piece.target.x, begin}, pixel_bytes);
  const auto row_bytes =
      static_cast<std::ptrdiff_t>(pixel_bytes * static_cast<std::size_t>(piece.part.width));
  // Rows that follow each other without a gap are one long row.
  const bool is_packed = src.step == row_bytes && dst.step == row_bytes;
  const std::ptrdiff_t count = is_packed ? 1 : end - begin;
  const std::ptrdiff_t bytes = is_packed ? (end - begin) * row_bytes : row_bytes;
  if (streaming) {
    kernels::ActiveRowKernels().stream(src, dst, {count, bytes, bytes, streaming});
    return;
  }
  // Through the caches nothing copies faster than the C library.
  for (std::ptrdiff_t row = 0; row < count; ++row) {
    std::memcpy(dst[row], src[row], static_cast<std::size_t>(bytes));
  }
}

void CopyPixels(const cv::Mat& from, const cv::Mat& to) {
  if (from.data != to.data) {
    const Piece whole = WholeOf(from);
    CopyPieces({&whole, 1}, to);
  }
}

void CopyPixelsAlone(const cv::Mat& from, const cv::Mat& to) {
  if (from.data != to.data) {
    const Piece whole = WholeOf(from);
    CopyRows(whole, RowRange(0, to.rows), to, ShouldStream(whole));
  }
}

void CopyPieces(std::span<const Piece> pieces, const cv::Mat& to) {
  std::size_t bytes = 0;
  for (const Piece& piece : pieces) {
    bytes += BytesMoved(piece);
  }
  const bool streaming = ExceedsCaches(bytes);
  ForEachRowRange(
      to.rows, bytes,
      [&](const RowRange& rows) {
        for (const Piece& piece : pieces) {
          CopyRows(piece, rows, to, streaming);
        }
      },
      kSerialBytesOfCopy);
}

}  // namespace KELRA
