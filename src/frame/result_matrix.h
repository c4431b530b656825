// Where results are written, and when an output may be written while its input is still read.
#pragma once

#include <functional>
#include <opencv2/core.hpp>
#include <optional>

#include "KELRA/KelData.h"
#include "frame/function_ref.h"

namespace KELRA {

// A matrix that most calls can do without. It is made on demand: to construct and destroy an empty
// one takes as long as the pixels of a small image.
class SpareMatrix {
 public:
  // Makes it with pixels that are not initialised.
  cv::Mat& Create(cv::Size size, int type);
  cv::Mat& Clone(const cv::Mat& mat);

 private:
  std::optional<cv::Mat> mat_;
};

// The output's own matrix when it has the given size and type, so that it is written in place;
// otherwise a new one, made in `fresh`, whose pixels are not initialised: the caller overwrites all
// of them, and then assigns it with AssignResult.
cv::Mat& ResultMatrix(KelImage* output, cv::Size size, int type, SpareMatrix* fresh);

// The same for matrices whose memory overlaps.
bool SharesPixelsOfOneBlock(const cv::Mat& a, const cv::Mat& b);

// Whether any byte belongs to a pixel of both matrices. Matrices of different steps that interleave
// count as sharing.
inline bool SharesPixels(const cv::Mat& a, const cv::Mat& b) {
  const std::less_equal<> ends_before;
  return !ends_before(a.dataend, b.data) && !ends_before(b.dataend, a.data) &&
         SharesPixelsOfOneBlock(a, b);
}

// Whether no other header, no cv::UMat and no caller whose memory it is holds the matrix's pixels.
bool IsHeldAlone(const cv::Mat& mat);

// The matrix to read by an operation that computes each pixel of `result` from the same pixel of
// `input`: the input itself where they are apart or one and the same, otherwise a copy of it that
// is made in `copy`.
const cv::Mat& InputToReadWhileWriting(const cv::Mat& result, const cv::Mat& input,
                                       SpareMatrix* copy);

// Calls `work(input, result)`, which computes each pixel of the result from the same pixel of the
// input, and makes the result, of the input's size and the given type, the output's matrix. The
// output may be the input or share its pixels.
using PixelwiseWork = FunctionRef<void(const cv::Mat& input, cv::Mat& result)>;
void ComputePixelwise(const cv::Mat& input, int type, KelImage* output, PixelwiseWork work);

// The same for a result of the input's type.
inline void ComputePixelwise(const cv::Mat& input, KelImage* output, PixelwiseWork work) {
  ComputePixelwise(input, input.type(), output, work);
}

// As ResultMatrix, but a new matrix also when the output shares pixels with `input`: for operations
// that read other pixels of the input than the one they write.
cv::Mat& ResultMatrixApart(const cv::Mat& input, KelImage* output, cv::Size size, int type,
                           SpareMatrix* fresh);

// A new matrix, in the output's own memory only where it cannot be told from a new one: nobody else
// holds it, and it is nothing but such a matrix.
cv::Mat& NewMatrix(KelImage* output, cv::Size size, int type, SpareMatrix* fresh);

// Makes `result` the output's matrix.
void AssignResult(const cv::Mat& result, KelImage* output);

}  // namespace KELRA
