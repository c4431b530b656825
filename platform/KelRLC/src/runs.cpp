#include "runs.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace KELRA {
namespace {

// The first column from `column` on whose pixel is not 0, or `columns`.
int NextForeground(const uchar* row, int column, int columns) {
  for (; column + 8 <= columns; column += 8) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, row + column, sizeof eight);
    if (eight != 0) {
      break;
    }
  }
  while (column < columns && row[column] == 0) {
    ++column;
  }
  return column;
}

// The first column from `column` on whose pixel is 0, or `columns`.
int NextBackground(const uchar* row, int column, int columns) {
  const void* zero = std::memchr(row + column, 0, static_cast<std::size_t>(columns - column));
  return zero != nullptr ? static_cast<int>(static_cast<const uchar*>(zero) - row) : columns;
}

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
    const uchar* pixels = image.ptr(y);
    const std::size_t row = runs.size();
    for (int x = NextForeground(pixels, 0, image.cols); x < image.cols;) {
      const int end = NextBackground(pixels, x, image.cols);
      runs.push_back({y, x, end - 1, -1, -1});
      x = NextForeground(pixels, end, image.cols);
    }
    LinkRows(runs, above, row, runs.size());
    above = row;
  }
  return runs;
}

}  // namespace KELRA
