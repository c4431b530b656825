// An image seen through an affine transform, row by row.
#pragma once

#include <opencv2/core.hpp>

#include "frame/kernels/row_kernels.h"
#include "geometry/column_search.h"

namespace KELRA {

// The pixels are those of cv::warpAffine with linear interpolation and a constant border: sampled
// at whole 32nds of a pixel, whatever else a version of OpenCV does.
class SampledRows {
 public:
  // Whether positions that the transform leads to, on a canvas of this size, can be told in parts
  // of a pixel, and the image has one or three 8-bit or 16-bit channels.
  static bool Take(const cv::Mat& image, const cv::Matx23d& transform, cv::Size canvas);

  // The transform leads from the image's pixels to those of a canvas, of which the rows show a
  // part. Throws cv::Exception if a side of the image is longer than OpenCV warps.
  SampledRows(const cv::Mat& image, const cv::Matx23d& transform, const cv::Rect& part);

  const cv::Mat& Image() const { return image_; }
  const cv::Rect& Part() const { return part_; }

  // Takes a copy of the image if writing to `result` would change it.
  void KeepApartFrom(const cv::Mat& result);

  kernels::GridRow SourceOf(int row) const;
  // The columns in which a pixel of the image, or one beside it, has a part.
  Columns Reached(const kernels::GridRow& source) const;
  // Writes a whole row; what the image does not reach is `around`.
  void Write(const kernels::GridRow& source, Columns reached, double around, void* row) const;

 private:
  cv::Mat image_;
  cv::Rect part_;
  cv::Matx23d back_;  // from the pixels of the canvas to those of the image
  cv::Mat steps_;     // of the columns of the part, in x and in y
};

}  // namespace KELRA
