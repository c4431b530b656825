#include "frame/large_pages.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "frame/row_views.h"

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace KELRA {
namespace {

// OpenCV 4.6 takes a number of bytes that wraps around for a small one.
bool ExceedsAllMemory(cv::Size size, int type) {
  constexpr std::size_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
  const auto width = static_cast<std::size_t>(std::max(size.width, 1));
  const auto height = static_cast<std::size_t>(std::max(size.height, 0));
  return height > kMost / (width * static_cast<std::size_t>(CV_ELEM_SIZE(type)));
}

}  // namespace

void CreateInLargePages(cv::Size size, int type, cv::Mat* mat) {
  if (ExceedsAllMemory(size, type)) {
    CV_Error(cv::Error::StsNoMem, "The pixels exceed all memory");
  }
  mat->create(size, type);
#if defined(__linux__)
  // Smaller blocks are kept by the allocator, which gives out their pages again.
  constexpr std::size_t kMappedBytes = std::size_t{32} * 1024 * 1024;
  const std::size_t bytes = tbbup::PixelBytes(*mat);
  if (bytes > kMappedBytes) {
    static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(mat->data) / page + 1;
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(mat->data) + bytes) / page;
    // Only advice: without large pages the memory is as it would be.
    static_cast<void>(
        madvise(reinterpret_cast<void*>(first * page), (end - first) * page, MADV_HUGEPAGE));
  }
#endif
}

}  // namespace KELRA
