#include "run_grid.h"

#include <algorithm>

namespace kelra_test {

using KELRA::KelRun;

cv::Mat Painted(const std::vector<KelRun>& runs, cv::Size size) {
  cv::Mat grid = cv::Mat::zeros(size, CV_8UC1);
  for (const KelRun& run : runs) {
    for (int column = run.firstColumn; column <= run.lastColumn; ++column) {
      grid.at<uchar>(run.row, column) = 255;
    }
  }
  return grid;
}

::testing::AssertionResult AreMaximalRuns(const std::vector<KelRun>& runs, cv::Size size) {
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const KelRun& run = runs[i];
    const bool inside = run.row >= 0 && run.row < size.height && run.firstColumn >= 0 &&
                        run.firstColumn <= run.lastColumn && run.lastColumn < size.width;
    const bool ordered =
        i == 0 || runs[i - 1].row < run.row ||
        (runs[i - 1].row == run.row && runs[i - 1].lastColumn + 1 < run.firstColumn);
    if (!inside || !ordered) {
      return ::testing::AssertionFailure() << "run " << i << ": row " << run.row << ", columns "
                                           << run.firstColumn << " to " << run.lastColumn;
    }
  }
  return ::testing::AssertionSuccess();
}

std::vector<KelRun> PlainRuns(const cv::Mat& image) {
  std::vector<KelRun> runs;
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      if (image.at<uchar>(row, column) == 0) {
        continue;
      }
      if (column > 0 && image.at<uchar>(row, column - 1) != 0) {
        runs.back().lastColumn = column;
      } else {
        runs.push_back({row, column, column});
      }
    }
  }
  return runs;
}

bool SameRuns(const std::vector<KelRun>& a, const std::vector<KelRun>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const KelRun& x, const KelRun& y) {
    return x.row == y.row && x.firstColumn == y.firstColumn && x.lastColumn == y.lastColumn;
  });
}

}  // namespace kelra_test
