#include "frame/cache_size.h"

#if defined(__linux__)
#include <unistd.h>
#endif

namespace KELRA {
namespace {

std::size_t QueryLastLevelCacheBytes() {
#if defined(_SC_LEVEL3_CACHE_SIZE)
  if (const long bytes = sysconf(_SC_LEVEL3_CACHE_SIZE); bytes > 0) {
    return static_cast<std::size_t>(bytes);
  }
#endif
  return std::size_t{8} * 1024 * 1024;
}

const std::size_t g_last_level_cache_bytes = QueryLastLevelCacheBytes();

}  // namespace

std::size_t LastLevelCacheBytes() { return g_last_level_cache_bytes; }

}  // namespace KELRA
