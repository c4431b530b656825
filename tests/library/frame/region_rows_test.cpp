#include "frame/region_rows.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "test_images.h"

namespace KELRA {
namespace {

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

// Also where the rows are shared out among threads.
TEST(RegionRows, TheInputComesBackOutside) {
  for (const cv::Size size : {cv::Size(9, 6), cv::Size(701, 400)}) {
    for (const int type : {CV_8UC1, CV_16UC1, CV_8UC3, CV_16UC3}) {
      for (const cv::Range rows :
           {cv::Range(0, 1), cv::Range(2, 4), cv::Range(5, 6), cv::Range(0, 6)}) {
        const cv::Mat input = RandomImage(size.height, size.width, type, 1);
        const cv::Mat computed = RandomImage(size.height, size.width, type, 2);
        cv::Mat mask = cv::Mat::zeros(size, CV_8UC1);
        mask.rowRange(rows).setTo(255, RandomImage(rows.size(), size.width, CV_8UC1, 3) > 100);
        cv::Mat expected = input.clone();
        computed.copyTo(expected, mask);
        cv::Mat result = computed.clone();
        BringBackOutside(input, mask, rows, &result);
        EXPECT_TRUE(SameImage(result, expected)) << size << ", type " << type << ", " << rows.start;
      }
    }
  }
}

}  // namespace
}  // namespace KELRA
