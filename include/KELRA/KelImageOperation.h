// Image operations for machine vision.
//
// Rules that all methods share; a method's own comment gives what is particular to it.
//
// Images. 8-bit or 16-bit unsigned samples, one or three interleaved channels, rows of any stride;
// channels are never reordered. Inputs are read only unless a method says otherwise. The result is
// assigned to the output image's matrix: an output that already has the result's size and type is
// written in place, in its own memory; otherwise it gets a new matrix. The output may be an input
// or share its pixels; the result is the same as with a separate output.
//
// Regions. A method that takes a region works on the pixels inside it; all others keep the input's
// values. Blocks and tails of rows (below) count on the region's bounding box when the region is
// cut out, and on whole rows for the whole image and for run-length regions.
//
// Numbers. Arithmetic is in single precision, each operation rounded on its own. A final value is
// clamped to the sample range before it becomes an integer: below it 0, above it 255 or 65535, NaN
// 0, +infinity the largest value and -infinity 0. Unless told otherwise a row's pixels are rounded
// to the nearest integer, ties to even, in whole blocks of 16 pixels (8-bit) or 8 pixels (16-bit)
// from the left; the pixels that remain at the row's end are truncated toward zero. The bytes are
// the same on every processor and with any number of threads.
//
// Statuses. 0 is success; otherwise the first failing check's code (KelStatus.h), or the code of a
// sibling library passed through. A failed check leaves the output untouched. A null output pointer
// is ERR_IMAGE_EMPTY, reported after the method's own checks. The library throws nothing of its
// own; where memory runs out, or OpenCV refuses a call, their exceptions pass unless a method says
// otherwise.
//
// Efficiency mode (KELRA_EFFICIENCY not 0). Methods that say so write into a matrix that the object
// keeps: successive results of equal size and type share pixels, so a later call overwrites an
// earlier result unless the caller has copied it. A call that fails after this matrix was bound to
// the output leaves the output cleared.
//
// Threads. Methods of different objects may run at the same time. So may methods of one object,
// except in efficiency mode.
#pragma once

#include <memory>

#include "KELRA/KelBase.h"
#include "KELRA/KelData.h"
#include "KELRA/KelGdi.h"
#include "KELRA/KelStatus.h"

#if defined(KelImageOperation_EXPORTS)
#define KELIMAGEOPERATION_API KELRA_EXPORT
#else
#define KELIMAGEOPERATION_API KELRA_IMPORT
#endif

namespace KELRA {

class KELIMAGEOPERATION_API KelImageOperation {
 public:
  KelImageOperation();
  ~KelImageOperation();
  // Copies share the matrix of efficiency mode; it lives as long as the last of them.
  KelImageOperation(const KelImageOperation& other);
  KelImageOperation& operator=(const KelImageOperation& other);

  // dst = saturate((src + value) * scale + offset), each sample.
  //
  // `value`: 0 to 255 for 8-bit, 0 to 65535 for 16-bit images. `scale` and `offset` may be any
  // float. Statuses in order: ERR_IMAGE_EMPTY (no pixels), ERR_BIT_DEPTH (neither 8- nor 16-bit
  // unsigned), ERR_PARAM_1 (value), ERR_ROI_TYPE; then ERR_CHANNEL_COUNT (neither 1 nor 3 channels)
  // or the region library's code, with `dst` as it was. Uses efficiency mode except on the whole
  // image.
  KelLong AddConst(KelImage& src, KelROI& roi, KelImage* dst, int value, float scale, float offset);

  // dst = saturate((src - value) * scale + offset), each sample.
  //
  // Parameters, statuses and efficiency mode as for AddConst. When the work or the mask fails under
  // a run-length region, or the region cannot be cut out, `dst` becomes a copy of `src`.
  KelLong SubtractConst(KelImage& src, KelROI& roi, KelImage* dst, int value, float scale,
                        float offset);

  // dst = saturate(src * value * scale + offset), each sample; src * value is rounded to single
  // precision first.
  //
  // Parameters as for AddConst. Statuses in order: ERR_IMAGE_EMPTY, ERR_ROI_TYPE, ERR_BIT_DEPTH,
  // ERR_PARAM_1; then ERR_CHANNEL_COUNT or the region library's code, with `dst` a copy of `src`
  // except on the whole image. Uses efficiency mode.
  KelLong MultiplyConst(KelImage& src, KelROI& roi, KelImage* dst, int value, float scale,
                        float offset);

  // dst = saturate(src / value * scale + offset), each sample, rounded half up in every pixel of
  // the row: 0.5 is added and the sum truncated toward zero.
  //
  // `value`: 1 to 255 for 8-bit, 1 to 65535 for 16-bit images. Statuses in order: ERR_IMAGE_EMPTY,
  // ERR_BIT_DEPTH, ERR_PARAM_1, ERR_ROI_TYPE; then ERR_CHANNEL_COUNT or the region library's code,
  // with `dst` a copy of `src` except on the whole image. Uses efficiency mode.
  KelLong DivideConst(KelImage& src, KelROI& roi, KelImage* dst, int value, float scale,
                      float offset);

 private:
  std::shared_ptr<cv::Mat> buffer_;
};

}  // namespace KELRA
