#include "frame/kept_mask.h"

#include <cstddef>
#include <utility>

#include "frame/result_matrix.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

// A mask of an image of 16 million pixels.
constexpr std::size_t kMostBytes = std::size_t{16} * 1024 * 1024;

thread_local cv::Mat t_last;

}  // namespace

KeptMask::KeptMask() : mask_(std::move(t_last)) {
  if (!mask_.empty()) {
    mask_.resize(0);
  }
}

// What a region library keeps a reference to is left to it.
KeptMask::~KeptMask() {
  if (!mask_.empty() && IsHeldAlone(mask_) && tbbup::PixelBytes(mask_) <= kMostBytes) {
    t_last = std::move(mask_);
  }
}

}  // namespace KELRA
