#include "frame/result_matrix.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "frame/large_pages.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

std::ptrdiff_t RowBytes(const cv::Mat& mat) {
  return static_cast<std::ptrdiff_t>(mat.elemSize()) * mat.cols;
}

// Bytes from row to row; a single row has none, whatever the header says.
std::ptrdiff_t RowStep(const cv::Mat& mat) {
  return mat.rows > 1 ? static_cast<std::ptrdiff_t>(mat.step[0]) : 0;
}

bool Holds(const cv::Mat& mat, cv::Size size, int type) {
  return mat.dims <= 2 && mat.data != nullptr && mat.size() == size && mat.type() == type;
}

// Whether the matrix is as it was made, and nobody else's.
bool IsAsNew(const cv::Mat& mat) {
  return IsHeldAlone(mat) && !mat.isSubmatrix() && mat.allocator == nullptr &&
         mat.u->currAllocator == cv::Mat::getDefaultAllocator() &&
         mat.u->size == tbbup::PixelBytes(mat);
}

// Whether a pixel of `result` may be written once the same pixel of `input` has been read.
bool CanBeReadWhileWriting(const cv::Mat& result, const cv::Mat& input) {
  const bool same = result.data == input.data && RowStep(result) == RowStep(input) &&
                    result.size() == input.size() && result.type() == input.type();
  return same || !SharesPixels(result, input);
}

}  // namespace

cv::Mat& SpareMatrix::Create(cv::Size size, int type) {
  mat_.emplace();
  CreateInLargePages(size, type, &*mat_);
  return *mat_;
}

cv::Mat& SpareMatrix::Clone(const cv::Mat& mat) { return mat_.emplace(mat.clone()); }

cv::Mat& ResultMatrix(KelImage* output, cv::Size size, int type, SpareMatrix* fresh) {
  cv::Mat& own = output->Mat();
  return Holds(own, size, type) ? own : fresh->Create(size, type);
}

bool SharesPixelsOfOneBlock(const cv::Mat& a, const cv::Mat& b) {
  const auto begin_a = reinterpret_cast<std::uintptr_t>(a.data);
  const auto begin_b = reinterpret_cast<std::uintptr_t>(b.data);
  if (begin_b < begin_a) {
    return SharesPixelsOfOneBlock(b, a);
  }
  const auto distance = static_cast<std::ptrdiff_t>(begin_b - begin_a);
  if (distance >= RowStep(a) * (a.rows - 1) + RowBytes(a)) {
    return false;
  }
  const std::ptrdiff_t step = RowStep(a);
  if (step == 0 || (RowStep(b) != 0 && RowStep(b) != step)) {
    return true;
  }
  // Both lie on one grid of rows: b begins `column` bytes into a row of a, or in the gap behind it.
  const std::ptrdiff_t row = distance / step;
  const std::ptrdiff_t column = distance % step;
  const bool in_same_row = column < RowBytes(a) && row < a.rows;
  const bool in_next_row = column + RowBytes(b) > step && row + 1 < a.rows;
  return in_same_row || in_next_row;
}

bool IsHeldAlone(const cv::Mat& mat) {
  return mat.u != nullptr && mat.u->refcount == 1 && mat.u->urefcount == 0 &&
         (mat.u->flags & cv::UMatData::USER_ALLOCATED) == 0;
}

const cv::Mat& InputToReadWhileWriting(const cv::Mat& result, const cv::Mat& input,
                                       SpareMatrix* copy) {
  return CanBeReadWhileWriting(result, input) ? input : copy->Clone(input);
}

void ComputePixelwise(const cv::Mat& input, int type, KelImage* output, PixelwiseWork work) {
  SpareMatrix fresh;
  cv::Mat& result = ResultMatrix(output, input.size(), type, &fresh);
  SpareMatrix copy;
  work(InputToReadWhileWriting(result, input, &copy), result);
  AssignResult(result, output);
}

cv::Mat& ResultMatrixApart(const cv::Mat& input, KelImage* output, cv::Size size, int type,
                           SpareMatrix* fresh) {
  return SharesPixels(input, output->Mat()) ? fresh->Create(size, type)
                                            : ResultMatrix(output, size, type, fresh);
}

cv::Mat& NewMatrix(KelImage* output, cv::Size size, int type, SpareMatrix* fresh) {
  cv::Mat& own = output->Mat();
  return Holds(own, size, type) && IsAsNew(own) ? own : fresh->Create(size, type);
}

void AssignResult(const cv::Mat& result, KelImage* output) {
  // A result written in place is there already; counting its references would cost more than a
  // small image.
  cv::Mat& own = output->Mat();
  if (own.data != result.data) {
    own = result;
  }
}

}  // namespace KELRA
