#include "frame/region_rows.h"

#include <gtest/gtest.h>

#include <climits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "every_instruction_set.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::GuardedImage;
using kelra_test::RandomImage;
using kelra_test::SameImage;

KelROI RegionOf(const std::vector<KelRun>& runs) {
  KelRegion region(9, 6);
  for (const KelRun& run : runs) {
    region.Append(run);
  }
  return KelROI::Region(region);
}

TEST(RegionRows, AreThoseFromTheFirstRunToTheLast) {
  const struct {
    std::vector<KelRun> runs;
    cv::Range rows;
  } cases[] = {
      {{{3, 0, 4}}, {3, 4}},
      {{{4, 0, 4}, {1, 2, 2}}, {1, 5}},
      {{{0, 0, 0}, {5, 8, 8}}, {0, 6}},
      {{{-1, 0, 4}, {2, 0, 4}, {6, 0, 4}}, {2, 3}},
      {{{INT_MIN, 0, 4}, {INT_MAX, 0, 4}, {5, 0, 4}}, {5, 6}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RowsWithRuns(RegionOf(c.runs), 6), c.rows) << c.rows.start;
  }
}

TEST(RegionRows, AreAllWhereTheRegionTellsNone) {
  const cv::Range all(0, 6);
  EXPECT_EQ(RowsWithRuns(KelROI(KEL_ROI_REGION), 6), all);
  EXPECT_EQ(RowsWithRuns(RegionOf({}), 6), all);
  EXPECT_EQ(RowsWithRuns(RegionOf({{6, 0, 3}, {-1, 0, 3}}), 6), all);
  EXPECT_EQ(RowsWithRuns(KelROI::Circle({3, 3}, 1), 6), all);
}

TEST(RegionRows, AMaskCoversOnlyThemWhenItIsNowhereElse255) {
  for (int row = 0; row < 6; ++row) {
    for (const int column : {0, 4, 8}) {
      cv::Mat mask(6, 9, CV_8UC1, cv::Scalar(254));
      mask.at<std::uint8_t>(row, column) = 255;
      EXPECT_EQ(CoversOnly(mask, {9, 6}, {2, 4}), row == 2 || row == 3) << row;
    }
  }
}

TEST(RegionRows, OtherMatricesAreNoMasks) {
  EXPECT_TRUE(CoversOnly(cv::Mat::zeros(6, 9, CV_8UC1), {9, 6}, {2, 4}));
  EXPECT_FALSE(CoversOnly(cv::Mat::zeros(6, 8, CV_8UC1), {9, 6}, {2, 4}));
  EXPECT_FALSE(CoversOnly(cv::Mat::zeros(5, 9, CV_8UC1), {9, 6}, {2, 4}));
  EXPECT_FALSE(CoversOnly(cv::Mat::zeros(6, 9, CV_8UC3), {9, 6}, {2, 4}));
  EXPECT_FALSE(CoversOnly(cv::Mat::zeros(6, 9, CV_16UC1), {9, 6}, {2, 4}));
  EXPECT_FALSE(CoversOnly(cv::Mat(), {9, 6}, {2, 4}));
}

// `dense` masks change from pixel to pixel, others have a few runs in a row.
cv::Mat RandomMask(cv::Size size, cv::Range rows, bool dense) {
  cv::Mat mask = cv::Mat::zeros(size, CV_8UC1);
  cv::Mat noise = RandomImage(rows.size(), size.width, CV_8UC1, 3);
  if (!dense) {
    cv::resize(RandomImage(rows.size(), (size.width + 24) / 25, CV_8UC1, 4), noise, noise.size(), 0,
               0, cv::INTER_NEAREST);
  }
  mask.rowRange(rows).setTo(255, noise > 100);
  mask.setTo(254, (mask == 0) & (RandomImage(size.height, size.width, CV_8UC1, 5) > 200));
  return mask;
}

void ExpectTheInputOutside(cv::Size size, int type, cv::Range rows, bool dense, int gap) {
  GuardedImage input(RandomImage(size.height, size.width, type, 1), gap, gap);
  GuardedImage result(RandomImage(size.height, size.width, type, 2), gap, gap);
  GuardedImage mask(RandomMask(size, rows, dense), gap, gap);
  cv::Mat expected = input.Mat().clone();
  result.Mat().copyTo(expected, mask.Mat() == 255);
  BringBackOutside(input.Mat(), mask.Mat(), rows, &result.Mat());
  EXPECT_TRUE(SameImage(result.Mat(), expected))
      << size << ", type " << type << ", " << rows.start << ", gap " << gap;
  EXPECT_TRUE(result.SurroundingsUntouched());
}

using RegionRowsOnInstructionSet = kelra_test::EveryInstructionSet;
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(RegionRowsOnInstructionSet);

TEST_P(RegionRowsOnInstructionSet, TheInputComesBackOutside) {
  for (int columns = 1; columns <= 140; ++columns) {
    for (const int type : {CV_8UC1, CV_16UC1, CV_8UC3, CV_16UC3}) {
      for (const cv::Range rows : {cv::Range(0, 1), cv::Range(2, 4), cv::Range(0, 5)}) {
        for (const bool dense : {false, true}) {
          ExpectTheInputOutside({columns, 5}, type, rows, dense, 0);
          ExpectTheInputOutside({columns, 5}, type, rows, dense, 6);
        }
      }
    }
  }
}

TEST_P(RegionRowsOnInstructionSet, TheInputComesBackOutsideWhereThreadsShareTheRows) {
  for (const int gap : {0, 6}) {
    for (const cv::Range rows : {cv::Range(0, 1), cv::Range(150, 310), cv::Range(0, 400)}) {
      ExpectTheInputOutside({701, 400}, CV_16UC3, rows, false, gap);
    }
  }
}

}  // namespace
}  // namespace KELRA
