// Copies of pixels: by rows, shared out among threads where that pays, and past the caches where
// they cannot hold what is copied. What OpenCV's copy does before its first byte takes as long as
// the pixels of a small image. None is left half done for want of memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <opencv2/core.hpp>
#include <span>

#include "frame/kernels/row_kernels.h"
#include "frame/row_engine.h"

namespace KELRA {

// A copy that reads and writes fewer bytes is done within some tens of microseconds: too little to
// wait for a second thread that may be late.
inline constexpr std::size_t kSerialBytesOfCopy = std::size_t{4} * 1024 * 1024;

// Copies all pixels to a matrix of the same size and type that is the same or shares none of them.
void CopyPixels(const cv::Mat& from, const cv::Mat& to);

// The same on the calling thread.
void CopyPixelsAlone(const cv::Mat& from, const cv::Mat& to);

// A part of a matrix and where its first pixel goes on another one.
struct Piece {
  const cv::Mat* pixels;
  cv::Rect part;
  cv::Point target;
};

inline Piece WholeOf(const cv::Mat& pixels, cv::Point target = {}) {
  return {&pixels, {0, 0, pixels.cols, pixels.rows}, target};
}

// Copies the pieces in their order, a later one over an earlier one, to a matrix of their type in
// which they lie and with which they share no pixels.
void CopyPieces(std::span<const Piece> pieces, const cv::Mat& to);

// For copies of a piece a few rows at a time.
//
// Whether the piece and its copy exceed the caches.
bool ShouldStream(const Piece& piece);
// Copies what of the piece lies in the rows of `to`, on the calling thread, past the caches when
// streaming.
void CopyRows(const Piece& piece, const RowRange& rows, const cv::Mat& to, bool streaming = false);

// Copies so many rows of bytes to others that share none with them; their steps may be 0 or less.
void CopyByteRows(kernels::Rows<const std::uint8_t> src, kernels::Rows<std::uint8_t> dst, int rows,
                  std::size_t bytes);

// The same on the calling thread, past the caches when streaming.
void CopyByteRowsAlone(kernels::Rows<const std::uint8_t> src, kernels::Rows<std::uint8_t> dst,
                       int rows, std::size_t bytes, bool streaming = false);

// Fills `size` bytes by repeating the first `given` of them; shared out among threads where that
// pays.
void RepeatBytes(std::uint8_t* bytes, std::size_t given, std::size_t size);

}  // namespace KELRA
