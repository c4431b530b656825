// An image seen in perspective, row by row.
#pragma once

#include <array>
#include <cstddef>
#include <opencv2/core.hpp>

#include "frame/kernels/row_kernels.h"

namespace KELRA {

using FourPoints = std::array<cv::Point2f, 4>;

// The transform that leads from four points to four others, as cv::getPerspectiveTransform gives
// it, to the bit.
cv::Matx33d PerspectiveTransform(const FourPoints& from, const FourPoints& to);

// The pixels are those of cv::warpPerspective with linear interpolation, 0 outside the image:
// sampled at whole 32nds of a pixel, whatever else a version of OpenCV does.
class PerspectiveRows {
 public:
  // Whether the image has one or three 8-bit or 16-bit channels and no side that is too long.
  static bool Take(const cv::Mat& image);

  // The transform leads from the image's pixels to those of a canvas of its size.
  PerspectiveRows(const cv::Mat& image, const cv::Matx33d& transform);

  // Writes a whole row of the canvas.
  void Write(int row, void* to) const;

 private:
  std::ptrdiff_t BytesOfAPixel() const { return static_cast<std::ptrdiff_t>(image_.elemSize()); }
  // Of the columns from this one on.
  kernels::PerspectiveRow SourceOf(int row, int column) const;
  void WriteColumns(const kernels::GridRow& source, int columns, std::byte* to) const;

  cv::Mat image_;
  cv::Matx33d back_;  // from the pixels of the canvas to those of the image
  int columns_at_once_;
};

}  // namespace KELRA
