#include "frame/cache_size.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <cstddef>

namespace KELRA {
namespace {

bool ExceedsCachesOn(int threads, std::size_t bytes) {
  return tbb::task_arena(threads).execute([&] { return ExceedsCaches(bytes); });
}

TEST(CacheSize, OneThreadCountsOnHalfOfTheLastLevelAndSeveralOnAllOfIt) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 2);
  const std::size_t all = LastLevelCacheBytes();
  EXPECT_FALSE(ExceedsCachesOn(1, all / 2));
  EXPECT_TRUE(ExceedsCachesOn(1, all / 2 + 1));
  EXPECT_FALSE(ExceedsCachesOn(2, all));
  EXPECT_TRUE(ExceedsCachesOn(2, all + 1));
  const tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
  EXPECT_TRUE(ExceedsCachesOn(2, all / 2 + 1));
}

}  // namespace
}  // namespace KELRA
