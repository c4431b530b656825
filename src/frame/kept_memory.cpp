#include "frame/kept_memory.h"

#include <cstddef>
#include <utility>

#include "frame/result_matrix.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

constexpr std::size_t kMostBytes = std::size_t{16} * 1024 * 1024;

cv::Mat& Kept(KeptFor purpose) {
  thread_local cv::Mat t_kept[2];
  return t_kept[static_cast<int>(purpose)];
}

}  // namespace

cv::Mat TakeKept(KeptFor purpose) {
  cv::Mat kept = std::move(Kept(purpose));
  if (kept.data != nullptr) {
    kept.resize(0);
  }
  return kept;
}

// A part would keep the whole that it was taken from, and a caller's own allocator may end before
// the thread does.
void Keep(KeptFor purpose, cv::Mat&& mat) {
  if (IsHeldAlone(mat) && mat.dims <= 2 && mat.rows > 0 && !mat.isSubmatrix() &&
      mat.u->size <= kMostBytes && mat.u->currAllocator == cv::Mat::getStdAllocator()) {
    Kept(purpose) = std::move(mat);
  }
}

}  // namespace KELRA
