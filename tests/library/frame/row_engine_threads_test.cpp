// Which threads the row engine uses: in a caller's arena, among a caller's tasks, after a fork.

#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <tbb/task_scheduler_observer.h>

#include <algorithm>
#include <atomic>
#include <chrono>
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
    const int now = ++inside_;
    int most = most_.load();
    while (most < now && !most_.compare_exchange_weak(most, now)) {
    }
  }
  void Leave() { --inside_; }
  int Most() const { return most_; }

 private:
  std::atomic<int> inside_{0};
  std::atomic<int> most_{0};
};

class ArenaObserver : public tbb::task_scheduler_observer {
 public:
  explicit ArenaObserver(tbb::task_arena& arena) : task_scheduler_observer(arena) { observe(true); }
  ~ArenaObserver() override { observe(false); }
  void on_scheduler_entry(bool) override { crowd_.Enter(); }
  void on_scheduler_exit(bool) override { crowd_.Leave(); }
  int Most() const { return crowd_.Most(); }

 private:
  Crowd crowd_;
};

// Bodies that sleep leave the processor to others, so that threads come however few cores there
// are.
int MostThreadsInBodies() {
  Crowd bodies;
  ForEachRowRange(64, kMuch, [&](const RowRange&) {
    bodies.Enter();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    bodies.Leave();
  });
  return bodies.Most();
}

TEST(RowEngineConcurrent, NoMoreThreadsThanTheCallersArenaHasSlots) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 8);
  for (const int slots : {1, 2, 3}) {
    tbb::task_arena arena(slots);
    const ArenaObserver observer(arena);
    EXPECT_LE(arena.execute(MostThreadsInBodies), slots);
    EXPECT_LE(observer.Most(), slots);
  }
  // There are threads enough for the limits to matter.
  EXPECT_GT(tbb::task_arena(8).execute(MostThreadsInBodies), 3);
}

TEST(RowEngineConcurrent, OnlyTheCallersThreadUnderAGlobalLimitOf1) {
  const tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
  EXPECT_EQ(MostThreadsInBodies(), 1);
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

int RangesIn(int slots) {
  std::atomic<int> ranges{0};
  tbb::task_arena(slots).execute(
      [&] { ForEachRowRange(1000, kMuch, [&](const RowRange&) { ++ranges; }); });
  return ranges;
}

TEST(RowEngineConcurrent, NothingIsSplitWhereOneThreadWorks) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 4);
  EXPECT_EQ(RangesIn(1), 1);
  EXPECT_GT(RangesIn(2), 1);
  const tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
  EXPECT_EQ(RangesIn(2), 1);
}

int Ranges() {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 4);
  return RangesIn(4);
}

// Each runs in a process that has made no parallel loop before.
class RowEngineForkDeathTest : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

int ProcessThatForksAfterItsFirstLoop() {
  Ranges();
  const int ranges_in_child = ExitCodeOfFork(Ranges);
  const int ranges_in_grandchild = ExitCodeOfFork([] { return ExitCodeOfFork(Ranges); });
  return ranges_in_child == 1 && ranges_in_grandchild == 1 && Ranges() > 1 ? 0 : 1;
}

TEST_F(RowEngineForkDeathTest, AProcessForkedFromAUsedPoolWorksOnItsOwnThread) {
  EXPECT_EXIT(_exit(ProcessThatForksAfterItsFirstLoop()), testing::ExitedWithCode(0), "");
}

TEST_F(RowEngineForkDeathTest, AProcessForkedBeforeThePoolIsUsedHasItsOwn) {
  EXPECT_EXIT(_exit(ExitCodeOfFork([] { return std::min(Ranges(), 2); }) == 2 ? 0 : 1),
              testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace KELRA
