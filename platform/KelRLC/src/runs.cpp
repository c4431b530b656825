#include "runs.h"

#include <cstddef>

#include "foreground_runs.h"

namespace KELRA {
namespace {

// Links the runs [above, row) of one row with the runs [row, end) of the row below it.
void LinkRows(std::vector<ForegroundRun>& runs, std::size_t above, std::size_t row,
              std::size_t end) {
  std::size_t upper = above;
  for (std::size_t lower = row; lower < end; ++lower) {
    while (upper < row && runs[upper].last < runs[lower].first - 1) {
      ++upper;
    }
    for (std::size_t i = upper; i < row && runs[i].first <= runs[lower].last + 1; ++i) {
      if (runs[lower].first_above < 0) {
        runs[lower].first_above = static_cast<int>(i);
      }
      runs[i].last_below = static_cast<int>(lower);
      // Only the last of these can reach the next run of the row as well.
      upper = i;
    }
  }
}

}  // namespace

std::vector<ForegroundRun> FindForegroundRuns(const cv::Mat& image) {
  std::vector<ForegroundRun> runs;
  std::size_t above = 0;
  for (int y = 0; y < image.rows; ++y) {
    const std::size_t row = runs.size();
    ForEachForegroundRun(image.ptr(y), image.cols, [&](int first, int last) {
      runs.push_back({y, first, last, -1, -1});
    });
    LinkRows(runs, above, row, runs.size());
    above = row;
  }
  return runs;
}

}  // namespace KELRA
