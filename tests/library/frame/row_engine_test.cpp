#include "frame/row_engine.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <mutex>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

#include "fake_settings.h"

namespace KELRA {
namespace {

using kelra_test::ParallelSettingsFor;
using kelra_test::ScopedSettings;

// Far beyond what is done without other threads.
constexpr std::size_t kMuch = std::size_t{1} << 30;

struct Visits {
  std::vector<RowRange> ranges;
  std::vector<int> of_row;
  std::vector<std::thread::id> threads;
};

Visits VisitsOf(int rows, std::size_t bytes) {
  Visits visits;
  visits.of_row.resize(static_cast<std::size_t>(std::max(rows, 0)));
  std::mutex mutex;
  ForEachRowRange(rows, bytes, [&](const RowRange& range) {
    const std::lock_guard lock(mutex);
    visits.ranges.push_back(range);
    visits.threads.push_back(std::this_thread::get_id());
    for (int row = range.begin(); row < range.end(); ++row) {
      ++visits.of_row.at(static_cast<std::size_t>(row));
    }
  });
  return visits;
}

TEST(RowEngine, EveryRowIsCoveredExactlyOnce) {
  for (const int rows : {1, 2, 3, 4, 5, 7, 8, 16, 31, 100, 1001}) {
    for (const int parallel : ParallelSettingsFor(rows)) {
      const ScopedSettings settings({.parallel = parallel});
      for (const std::size_t bytes : {std::size_t{0}, kMuch}) {
        const Visits visits = VisitsOf(rows, bytes);
        EXPECT_EQ(visits.of_row, std::vector<int>(static_cast<std::size_t>(rows), 1))
            << rows << " rows, parallel setting " << parallel << ", " << bytes << " bytes";
      }
    }
  }
}

TEST(RowEngine, WithoutRowsTheBodyIsNotCalled) {
  for (const int rows : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_TRUE(VisitsOf(rows, kMuch).ranges.empty()) << rows;
  }
}

TEST(RowEngine, LittleWorkIsOneRangeOnTheCallingThread) {
  for (const int parallel : {-1, 0, 1, 3, 1000000}) {
    const ScopedSettings settings({.parallel = parallel});
    const Visits visits = VisitsOf(64, 64 * 64);
    ASSERT_EQ(visits.ranges.size(), 1U);
    EXPECT_EQ(visits.ranges[0].begin(), 0);
    EXPECT_EQ(visits.ranges[0].end(), 64);
    EXPECT_EQ(visits.threads[0], std::this_thread::get_id());
  }
}

TEST(RowEngine, RepeatableRowsAreAllDoneWhereTheThreadsFail) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 4);
  constexpr int kRows = 1000;
  std::vector<std::atomic<int>> done(kRows);
  std::atomic<bool> has_failed{false};
  tbb::task_arena(4).execute([&] {
    ForEachRepeatableRowRange(kRows, kMuch, [&](const RowRange& range) {
      if (range.begin() > 0 && !has_failed.exchange(true)) {
        throw std::bad_alloc();
      }
      for (int row = range.begin(); row < range.end(); ++row) {
        ++done[static_cast<std::size_t>(row)];
      }
    });
  });
  EXPECT_TRUE(has_failed);
  EXPECT_TRUE(std::all_of(done.begin(), done.end(), [](const auto& times) { return times > 0; }));
}

TEST(RowEngine, CallersSayWhatLittleWorkIs) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 4);
  constexpr std::size_t kLittle = 4 * kSerialBytes;
  const auto ranges_of = [](std::size_t work, std::size_t little) {
    std::atomic<int> ranges{0};
    tbb::task_arena(4).execute([&] {
      ForEachRowRange(
          1000, work, [&](const RowRange&) { ++ranges; }, little);
    });
    return ranges.load();
  };
  EXPECT_EQ(ranges_of(kLittle - 1, kLittle), 1);
  EXPECT_GT(ranges_of(kLittle, kLittle), 1);
  EXPECT_GT(ranges_of(kLittle - 1, kSerialBytes), 1);
}

TEST(RowEngine, ParallelSetting1IsOneRange) {
  const ScopedSettings settings({.parallel = 1});
  EXPECT_EQ(VisitsOf(1000, kMuch).ranges.size(), 1U);
}

// A range of more than the grain may be halved, so none is smaller than half the grain.
TEST(RowEngine, TheGrainIsTheRowsByTheParallelSetting) {
  constexpr int kRows = 1000;
  for (const int parallel : {2, 3, 7, 100, 999, 1000, 1001}) {
    const ScopedSettings settings({.parallel = parallel});
    const int grain = std::max(1, kRows / parallel);
    const Visits visits = VisitsOf(kRows, kMuch);
    EXPECT_LE(visits.ranges.size(), static_cast<std::size_t>(2 * parallel));
    for (const RowRange& range : visits.ranges) {
      EXPECT_GE(2 * static_cast<int>(range.size()) + 1, grain) << parallel;
    }
  }
}

TEST(RowEngine, MuchWorkIsSplit) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 4);
  for (const int parallel : {-1, 0, 2, 1000}) {
    const ScopedSettings settings({.parallel = parallel});
    const Visits visits = tbb::task_arena(4).execute([] { return VisitsOf(1000, kMuch); });
    EXPECT_GT(visits.ranges.size(), 1U) << parallel;
  }
}

TEST(RowEngine, NoRangeIsTooLittleToSplitOff) {
  const tbb::global_control many(tbb::global_control::max_allowed_parallelism, 4);
  constexpr std::size_t kSplitOff = kSerialBytes / 2;
  for (const int parallel : {-1, 0, 1000}) {
    const ScopedSettings settings({.parallel = parallel});
    for (const std::size_t times : {2U, 3U, 8U, 13U}) {
      const Visits visits =
          tbb::task_arena(4).execute([&] { return VisitsOf(1000, times * kSplitOff); });
      EXPECT_GT(visits.ranges.size(), 1U);
      // A range of more than that may be halved.
      EXPECT_LE(visits.ranges.size(), 2 * times) << parallel;
    }
  }
}

TEST(RowEngine, WhatTheBodyThrowsPassesToTheCaller) {
  for (const int parallel : {0, 1, 3, 1000000}) {
    const ScopedSettings settings({.parallel = parallel});
    for (const std::size_t bytes : {std::size_t{0}, kMuch}) {
      const auto run = [&] {
        ForEachRowRange(100, bytes, [](const RowRange& range) {
          if (range.begin() <= 50 && 50 < range.end()) {
            throw std::runtime_error("row 50");
          }
        });
      };
      EXPECT_THROW(run(), std::runtime_error);
      EXPECT_EQ(VisitsOf(100, bytes).of_row, std::vector<int>(100, 1));
    }
  }
}

// Otherwise a caller inside a cancelled group would take pixels that nobody wrote for a result.
TEST(RowEngine, CancellationOfTheCallersTasksLeavesNoRowOut) {
  for (const int parallel : {-1, 0, 2, 3, 1000000}) {
    const ScopedSettings settings({.parallel = parallel});
    std::vector<int> of_row;
    tbb::task_group_context callers;
    tbb::parallel_for(
        tbb::blocked_range<int>(0, 1),
        [&](const tbb::blocked_range<int>&) {
          callers.cancel_group_execution();
          of_row = VisitsOf(1000, kMuch).of_row;
        },
        callers);
    EXPECT_EQ(of_row, std::vector<int>(1000, 1)) << parallel;
  }
}

TEST(RowEngine, CallsMayNest) {
  const ScopedSettings settings({.parallel = 0});
  std::atomic<int> rows{0};
  ForEachRowRange(20, kMuch, [&](const RowRange& outer) {
    for (int row = outer.begin(); row < outer.end(); ++row) {
      ForEachRowRange(30, kMuch,
                      [&](const RowRange& inner) { rows += static_cast<int>(inner.size()); });
    }
  });
  EXPECT_EQ(rows, 600);
}

}  // namespace
}  // namespace KELRA
