#include "frame/cache_size.h"

#include <algorithm>

#include "frame/row_engine.h"

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

const std::size_t g_last_level_cache_bytes = QueryLastLevelCacheBytes();

}  // namespace

std::size_t LastLevelCacheBytes() { return g_last_level_cache_bytes; }

bool ExceedsCaches(std::size_t bytes) {
  return bytes > g_last_level_cache_bytes / 2 && (bytes > g_last_level_cache_bytes || WorksAlone());
}

}  // namespace KELRA
