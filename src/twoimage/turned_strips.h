// A turned image in strips of rows that stay in a processor's cache, for work that needs each of
// them once.
#pragma once

#include <opencv2/core.hpp>

#include "frame/function_ref.h"
#include "frame/row_engine.h"
#include "geometry/sampled_rows.h"
#include "twoimage/placement.h"

namespace KELRA {

class TurnedStrips {
 public:
  // A part of the turned image, `around` around it. The image has one or three 8-bit or 16-bit
  // channels. Throws cv::Exception if a side is longer than OpenCV turns.
  TurnedStrips(const cv::Mat& image, const Turn& turn, double around, const cv::Rect& part)
      : sampled_(image, turn.transform, part), around_(around) {}

  // Takes a copy of the image if writing to `result` would change it.
  void KeepApartFrom(const cv::Mat& result) { sampled_.KeepApartFrom(result); }

  // Calls `work`, from several threads, with strips that together are the rows of the part, which
  // is not empty. The pixels are the work's to change. The mask is not 0 where the turned image,
  // all its samples at 255 and 0 around it, is not 0; it is empty unless wanted.
  using Work = FunctionRef<void(const RowRange& rows, cv::Mat& pixels, const cv::Mat& mask)>;
  void ForEach(bool with_mask, Work work) const;

 private:
  Columns Covered(const kernels::GridRow& source, Columns reached) const;
  // The mask may be empty.
  void Fill(const RowRange& rows, cv::Mat* pixels, cv::Mat* mask) const;

  SampledRows sampled_;
  double around_;
};

}  // namespace KELRA
