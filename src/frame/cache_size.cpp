#include "frame/cache_size.h"

#include <algorithm>

#if defined(__linux__)
#include <unistd.h>
#endif

namespace KELRA {
namespace {

// Some systems report the sum over all chips, of which one thread's data reaches one.
constexpr std::size_t kMost = std::size_t{32} * 1024 * 1024;
constexpr std::size_t kCommon = std::size_t{8} * 1024 * 1024;

std::size_t QueryLastLevelCacheBytes() {
#if defined(_SC_LEVEL3_CACHE_SIZE)
  if (const long bytes = sysconf(_SC_LEVEL3_CACHE_SIZE); bytes > 0) {
    return std::min(static_cast<std::size_t>(bytes), kMost);
  }
#endif
  return kCommon;
}

const std::size_t g_bytes_of_a_call = QueryLastLevelCacheBytes() / 2;

}  // namespace

std::size_t CacheBytesOfACall() { return g_bytes_of_a_call; }

}  // namespace KELRA
