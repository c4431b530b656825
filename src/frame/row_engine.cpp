#include "frame/row_engine.h"

#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <atomic>

#include "frame/load_time_state.h"

#if !defined(_WIN32)
#include <pthread.h>
#endif

namespace KELRA {
namespace {

// A fork takes along what the thread pool knows, its locks included, but none of its threads: in
// the child nobody would come to help, and a lock that another thread held is never released. A
// pool that has not been used yet starts afresh in the child.
std::atomic<bool> g_pool_is_used{false};
std::atomic<bool> g_pool_is_lost{false};
#if !defined(_WIN32)
[[maybe_unused]] const int g_fork_handler = pthread_atfork(nullptr, nullptr, [] {
  g_pool_is_lost.store(g_pool_is_used.load(std::memory_order_relaxed), std::memory_order_relaxed);
});
#endif

std::size_t GrainOfSetting(int rows) {
  const int parallel = LoadedSettings().parallel;
  return static_cast<std::size_t>(parallel < 1 ? 1 : std::max(1, rows / parallel));
}

// oneTBB splits far beyond the threads there are, even when no second one comes because the other
// cores are busy: by single rows that takes a third longer than no loop at all.
std::size_t RowsWorthSplittingOff(int rows, std::size_t bytes) {
  constexpr std::size_t kBytes = kSerialBytes / 2;
  return static_cast<std::size_t>(rows) * kBytes / bytes;
}

}  // namespace

bool WorksAlone() {
  return g_pool_is_lost.load(std::memory_order_relaxed) ||
         tbb::this_task_arena::max_concurrency() == 1 ||
         tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism) == 1;
}

void ForEachRowRangeInParallel(int rows, std::size_t bytes,
                               FunctionRef<void(const RowRange&)> body) {
  const std::size_t grain = std::max(GrainOfSetting(rows), RowsWorthSplittingOff(rows, bytes));
  // Splitting takes microseconds, in vain where nobody shares the work.
  if (grain >= static_cast<std::size_t>(rows) || WorksAlone()) {
    body(RowRange(0, rows));
    return;
  }
  g_pool_is_used.store(true, std::memory_order_relaxed);
  const RowRange range(0, rows, grain);
  // A context of its own: a caller's cancelled tasks must not leave rows unwritten.
  tbb::task_group_context context(tbb::task_group_context::isolated);
  // A thread that waits for the last rows takes up no other task of the caller's meanwhile: that
  // one might call the very object whose call is under way.
  tbb::this_task_arena::isolate(
      [&] { tbb::parallel_for(range, body, tbb::auto_partitioner(), context); });
}

}  // namespace KELRA
