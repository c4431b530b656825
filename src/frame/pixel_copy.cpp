#include "frame/pixel_copy.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

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

// Through the caches nothing copies longer rows faster than the C library; for shorter ones a call
// of it each takes longer than their bytes.
constexpr std::ptrdiff_t kShortRow = 512;

bool ExceedsCaches(std::size_t bytes) { return bytes > CacheBytesOfACall(); }

std::size_t RowBytes(const cv::Mat& mat) {
  return static_cast<std::size_t>(mat.cols) * mat.elemSize();
}

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
  const std::size_t moved = 2 * static_cast<std::size_t>(rows) * bytes;
  const bool streaming = ExceedsCaches(moved);
  ForEachRowRange(
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
                 RowBytes(to));
  }
}

void CopyPixelsAlone(const cv::Mat& from, const cv::Mat& to) {
  if (from.data != to.data) {
    const std::size_t moved = 2 * static_cast<std::size_t>(to.rows) * RowBytes(to);
    CopyByteRowsAlone(RowsFrom<const std::uint8_t>(from), RowsFrom<std::uint8_t>(to), to.rows,
                      RowBytes(to), ExceedsCaches(moved));
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
