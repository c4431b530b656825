// A turned image in strips of rows that stay in a processor's cache, for work that needs each of
// them once.
#pragma once

#include <opencv2/core.hpp>

#include "frame/function_ref.h"
#include "frame/kernels/row_kernels.h"
#include "frame/row_engine.h"
#include "twoimage/column_search.h"
#include "twoimage/placement.h"

namespace KELRA {

// The pixels are those of cv::warpAffine with linear interpolation and a constant border: sampled
// at whole 32nds of a pixel, whatever else a version of OpenCV does.
class TurnedStrips {
 public:
  // A part of the turned image, `around` around it. The image has one or three 8-bit or 16-bit
  // channels. Throws cv::Exception if a side is longer than OpenCV turns.
  TurnedStrips(const cv::Mat& image, const Turn& turn, double around, const cv::Rect& part);

  // Takes a copy of the image if writing to `result` would change it.
  void KeepApartFrom(const cv::Mat& result);

  // Calls `work`, from several threads, with strips that together are the rows of the part, which
  // is not empty. The pixels are the work's to change. The mask is not 0 where the turned image,
  // all its samples at 255 and 0 around it, is not 0; it is empty unless wanted.
  using Work = FunctionRef<void(const RowRange& rows, cv::Mat& pixels, const cv::Mat& mask)>;
  void ForEach(bool with_mask, Work work) const;

 private:
  kernels::GridRow SourceOf(int row) const;
  Columns Reached(const kernels::GridRow& source) const;
  Columns Covered(const kernels::GridRow& source, Columns reached) const;
  template <class Sample>
  void SampleRow(const kernels::GridRow& source, Columns reached, Sample* row) const;
  // The mask may be empty.
  void Fill(const RowRange& rows, cv::Mat* pixels, cv::Mat* mask) const;

  cv::Mat image_;
  double around_;
  cv::Rect part_;
  cv::Matx23d back_;  // from the pixels of the turned image to those of the image
  cv::Mat steps_;     // of the columns of the part, in x and in y
};

}  // namespace KELRA
