#include "frame/row_engine.h"

#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <algorithm>

#include "frame/load_time_state.h"

namespace KELRA {

void ForEachRowRangeInParallel(int rows, FunctionRef<void(const RowRange&)> body) {
  const int parallel = LoadedSettings().parallel;
  const int grain = parallel < 1 ? 1 : std::max(1, rows / parallel);
  if (grain >= rows) {
    body(RowRange(0, rows));
    return;
  }
  const RowRange range(0, rows, static_cast<std::size_t>(grain));
  // A context of its own: a caller's cancelled tasks must not leave rows unwritten.
  tbb::task_group_context context(tbb::task_group_context::isolated);
  // A thread that waits for the last rows takes up no other task of the caller's meanwhile: that one
  // might call the very object whose call is under way.
  tbb::this_task_arena::isolate(
      [&] { tbb::parallel_for(range, body, tbb::auto_partitioner(), context); });
}

}  // namespace KELRA
