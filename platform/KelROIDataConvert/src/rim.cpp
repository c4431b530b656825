#include "rim.h"

#include <algorithm>
#include <span>

namespace KELRA {
namespace {

using Row = std::span<const KelRun>;  // the runs of one row, from the left

// Removes from `runs`, the runs of one row, the columns that are not in `other` as well.
void IntersectWith(Row other, std::vector<KelRun>& runs, std::vector<KelRun>& scratch) {
  scratch.clear();
  auto run = runs.begin();
  auto cut = other.begin();
  while (run != runs.end() && cut != other.end()) {
    const int first = std::max(run->firstColumn, cut->firstColumn);
    const int last = std::min(run->lastColumn, cut->lastColumn);
    if (first <= last) {
      scratch.push_back({run->row, first, last});
    }
    if (run->lastColumn < cut->lastColumn) {
      ++run;
    } else {
      ++cut;
    }
  }
  runs.swap(scratch);
}

// Appends the columns of `row` that are not in `inner`, whose runs lie within those of the row and
// leave at least one column of each at both ends.
void AppendDifference(Row row, const std::vector<KelRun>& inner, std::vector<KelRun>& runs) {
  auto hole = inner.begin();
  for (const KelRun& run : row) {
    int first = run.firstColumn;
    for (; hole != inner.end() && hole->lastColumn < run.lastColumn; ++hole) {
      runs.push_back({run.row, first, hole->firstColumn - 1});
      first = hole->lastColumn + 1;
    }
    runs.push_back({run.row, first, run.lastColumn});
  }
}

}  // namespace

std::vector<KelRun> RimOf(const std::vector<KelRun>& runs) {
  std::vector<KelRun> rim;
  std::vector<KelRun> interior;
  std::vector<KelRun> scratch;
  const auto row_from = [&](auto first) {
    const auto end =
        std::find_if(first, runs.end(), [&](const KelRun& run) { return run.row != first->row; });
    return Row(first, end);
  };
  Row above;
  Row row = runs.empty() ? Row() : row_from(runs.begin());
  while (!row.empty()) {
    const auto next = runs.begin() + (row.data() + row.size() - runs.data());
    const Row below = next == runs.end() ? Row() : row_from(next);
    interior.clear();
    const int y = row.front().row;
    if (!above.empty() && above.front().row == y - 1 && !below.empty() &&
        below.front().row == y + 1) {
      for (const KelRun& run : row) {
        if (run.firstColumn + 1 < run.lastColumn) {
          interior.push_back({y, run.firstColumn + 1, run.lastColumn - 1});
        }
      }
      IntersectWith(above, interior, scratch);
      IntersectWith(below, interior, scratch);
    }
    AppendDifference(row, interior, rim);
    above = row;
    row = below;
  }
  return rim;
}

}  // namespace KELRA
