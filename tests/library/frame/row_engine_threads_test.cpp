// Which threads the row engine uses: in a caller's arena, among a caller's tasks, after a fork.

#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "forked_child.h"
#include "frame/row_engine.h"

namespace KELRA {
namespace {

using kelra_test::ExitCodeOfFork;

// Far beyond what is done without other threads.
constexpr std::size_t kMuch = std::size_t{1} << 30;

// The largest number of threads that were in one place at a time.
class Crowd {
 public:
  void Enter() {
    const std::lock_guard lock(mutex_);
    most_ = std::max(most_, ++inside_);
    grown_.notify_all();
  }
  void Leave() {
    const std::lock_guard lock(mutex_);
    --inside_;
  }
  int Most() const {
    const std::lock_guard lock(mutex_);
    return most_;
  }
  void Await(int threads, std::chrono::steady_clock::time_point end) {
    std::unique_lock lock(mutex_);
    grown_.wait_until(lock, end, [&] { return most_ >= threads; });
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable grown_;
  int inside_ = 0;
  int most_ = 0;
};

// Bodies wait for so many at a time, so that threads come however few cores there are and however
// busy these are; all of them wait no longer than that.
int MostThreadsInBodies(int awaited, std::chrono::milliseconds longest) {
  Crowd bodies;
  const auto end = std::chrono::steady_clock::now() + longest;
  ForEachRowRange(64, kMuch, [&](const RowRange&) {
    bodies.Enter();
    bodies.Await(awaited, end);
    bodies.Leave();
  });
  return bodies.Most();
}

// Long enough for a thread too many to come.
constexpr std::chrono::milliseconds kAWhile{100};

// How many came to the best attended of several loops: oneTBB promises a loop no thread but its
// caller's.
int MostThreadsInSeveralLoops(int enough) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  int most = 0;
  while (most < enough && std::chrono::steady_clock::now() < end) {
    most = std::max(most, MostThreadsInBodies(enough, kAWhile));
  }
  return most;
}

TEST(RowEngineConcurrent, NoMoreThreadsThanTheCallersArenaHasSlots) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 8);
  for (const int slots : {1, 2, 3}) {
    tbb::task_arena arena(slots);
    EXPECT_LE(arena.execute([&] { return MostThreadsInBodies(slots + 1, kAWhile); }), slots);
  }
  // There are threads enough for the limits to matter.
  EXPECT_GE(tbb::task_arena(8).execute([] { return MostThreadsInSeveralLoops(4); }), 4);
}

TEST(RowEngineConcurrent, OnlyTheCallersThreadUnderAGlobalLimitOf1) {
  const tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
  EXPECT_EQ(MostThreadsInBodies(2, kAWhile), 1);
}

// While it waits for the last rows, a thread must not begin another of its caller's tasks: that one
// may call the object whose call is still under way.
TEST(RowEngineConcurrent, AWaitingCallBeginsNoneOfTheCallersTasks) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 8);
  std::atomic<int> begun_inside_a_call{0};
  tbb::task_arena arena(8);
  arena.execute([&] {
    tbb::parallel_for(0, 64, [&](int) {
      thread_local bool is_in_call = false;
      begun_inside_a_call += is_in_call ? 1 : 0;
      is_in_call = true;
      ForEachRowRange(8, kMuch, [](const RowRange&) {
        std::this_thread::sleep_for(std::chrono::microseconds(300));
      });
      is_in_call = false;
    });
  });
  EXPECT_EQ(begun_inside_a_call, 0);
}

int Ranges() {
  std::atomic<int> ranges{0};
  ForEachRowRange(1000, kMuch, [&](const RowRange&) { ++ranges; });
  return ranges;
}

int RangesIn(int slots) { return tbb::task_arena(slots).execute(Ranges); }

TEST(RowEngineConcurrent, NothingIsSplitWhereOneThreadWorks) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 4);
  EXPECT_EQ(RangesIn(1), 1);
  EXPECT_GT(RangesIn(2), 1);
  const tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
  EXPECT_EQ(RangesIn(2), 1);
}

// Each runs in a process that has made no parallel loop before.
class RowEngineForkDeathTest : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// As an exit code.
int IsSplit() { return Ranges() > 1 ? 1 : 0; }

// The children stay in their parent's arena: to make one, or to limit the threads, takes locks of
// oneTBB's that a thread may have held at the moment of the fork.
int ProcessThatForksAfterItsFirstLoop() {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 4);
  return tbb::task_arena(4).execute([] {
    const bool is_split_before = IsSplit() != 0;
    const int in_child = ExitCodeOfFork(IsSplit);
    const int in_grandchild = ExitCodeOfFork([] { return ExitCodeOfFork(IsSplit); });
    return is_split_before && in_child == 0 && in_grandchild == 0 && IsSplit() != 0 ? 0 : 1;
  });
}

TEST_F(RowEngineForkDeathTest, AProcessForkedFromAUsedPoolWorksOnItsOwnThread) {
  EXPECT_EXIT(_exit(ProcessThatForksAfterItsFirstLoop()), testing::ExitedWithCode(0), "");
}

TEST_F(RowEngineForkDeathTest, AProcessForkedBeforeThePoolIsUsedHasItsOwn) {
  const auto is_split_in_child = [] {
    return ExitCodeOfFork([] {
      const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 4);
      return tbb::task_arena(4).execute(IsSplit);
    });
  };
  EXPECT_EXIT(_exit(is_split_in_child() == 1 ? 0 : 1), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace KELRA
