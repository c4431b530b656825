#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "recorded_log.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

using RowNumbers = std::vector<std::vector<int>>;

// Each row filled with its number.
cv::Mat NumberedRows(int rows, int columns) {
  cv::Mat image(rows, columns, CV_8UC1);
  for (int row = 0; row < rows; ++row) {
    image.row(row).setTo(row);
  }
  return image;
}

RowNumbers Separate(const cv::Mat& image, int count) {
  KelImageOperation op;
  KelImage src(image);
  KelImageArray dst;
  EXPECT_EQ(op.ImageRowSeparate(src, &dst, count), STATUS_OK);
  RowNumbers numbers;
  for (int i = 0; i < dst.Length(); ++i) {
    EXPECT_EQ(dst[i].Width(), image.cols);
    numbers.emplace_back();
    for (int row = 0; row < dst[i].Height(); ++row) {
      const int number = dst[i].Mat().at<std::uint8_t>(row, 0);
      EXPECT_TRUE(SameImage(dst[i].Mat().row(row), image.row(number)));
      numbers.back().push_back(number);
    }
  }
  return numbers;
}

TEST(ImageRowSeparate, DealsTheRowsInTurn) {
  EXPECT_EQ(Separate(NumberedRows(7, 5), 3), (RowNumbers{{0, 3, 6}, {1, 4}, {2, 5}}));
  EXPECT_EQ(Separate(NumberedRows(6, 5), 2), (RowNumbers{{0, 2, 4}, {1, 3, 5}}));
}

TEST(ImageRowSeparate, RepeatsTheFirstRowLeftOver) {
  EXPECT_EQ(Separate(NumberedRows(8, 5), 3), (RowNumbers{{0, 3, 6}, {1, 4, 6}, {2, 5}}));
  EXPECT_EQ(Separate(NumberedRows(7, 5), 4), (RowNumbers{{0, 4}, {1, 4}, {2, 4}, {3}}));
}

TEST(ImageRowSeparate, GivesOneRowImagesForAsManyImagesAsRows) {
  EXPECT_EQ(Separate(NumberedRows(4, 5), 4), (RowNumbers{{0}, {1}, {2}, {3}}));
  EXPECT_EQ(Separate(NumberedRows(2, 1), 2), (RowNumbers{{0}, {1}}));
}

TEST(ImageRowSeparate, FollowsItsRuleForEveryHeightAndCount) {
  for (int rows = 2; rows <= 24; ++rows) {
    for (int count = 2; count <= rows; ++count) {
      RowNumbers expected;
      for (int i = 0; i < count; ++i) {
        expected.emplace_back();
        for (int k = 0; k < rows / count; ++k) {
          expected.back().push_back(i + k * count);
        }
        if (i < rows % count) {
          expected.back().push_back(count * (rows / count));
        }
      }
      ASSERT_EQ(Separate(NumberedRows(rows, 1 + rows * 3), count), expected)
          << rows << " / " << count;
    }
  }
}

TEST(ImageRowSeparate, TakesPaddedRowsAndGivesNewImages) {
  GuardedImage input(NumberedRows(5, 7), 3, 4);
  EXPECT_EQ(Separate(input.Mat(), 2), (RowNumbers{{0, 2, 4}, {1, 3}}));
  EXPECT_TRUE(SameImage(input.Mat(), NumberedRows(5, 7)));
  EXPECT_TRUE(input.SurroundingsUntouched());

  KelImageOperation op;
  KelImage src(input.Mat());
  KelImageArray dst;
  ASSERT_EQ(op.ImageRowSeparate(src, &dst, 2), STATUS_OK);
  input.Mat().setTo(99);
  EXPECT_EQ(dst[0].Mat().at<std::uint8_t>(2, 0), 4);
}

TEST(ImageRowSeparate, DropsTheFormerImagesWithoutTouchingThem) {
  const cv::Mat former = RandomImage(2, 7, CV_8UC1);
  KelImageOperation op;
  KelImage src(NumberedRows(4, 7));
  KelImageArray dst = {KelImage(former), KelImage(), KelImage()};
  ASSERT_EQ(op.ImageRowSeparate(src, &dst, 2), STATUS_OK);
  EXPECT_EQ(dst.Length(), 2);
  EXPECT_TRUE(SameImage(former, RandomImage(2, 7, CV_8UC1)));
}

TEST(ImageRowSeparate, TheInputMayBeAnImageOfTheOutput) {
  KelImageOperation op;
  KelImageArray images = {KelImage(NumberedRows(4, 3))};
  ASSERT_EQ(op.ImageRowSeparate(images[0], &images, 2), STATUS_OK);
  ASSERT_EQ(images.Length(), 2);
  EXPECT_EQ(images[1].Mat().at<std::uint8_t>(0, 0), 1);
  EXPECT_EQ(images[1].Mat().at<std::uint8_t>(1, 2), 3);
}

struct SeparateCase {
  cv::Mat image;
  int count;
  bool has_output;
  KelLong status;
};

TEST(ImageRowSeparate, ChecksInItsOrder) {
  const std::vector<SeparateCase> cases = {
      {cv::Mat(), 0, false, ERR_IMAGE_EMPTY},
      {cv::Mat(0, 10, CV_16UC3), 0, false, ERR_IMAGE_EMPTY},
      {RandomImage(1, 6, CV_16UC3), 0, false, ERR_BIT_DEPTH},
      {cv::Mat(4, 6, CV_8SC1, cv::Scalar(0)), 2, true, ERR_BIT_DEPTH},
      {RandomImage(1, 6, CV_8UC3), 0, false, ERR_IMAGE_EMPTY},
      {RandomImage(4, 6, CV_8UC3), 0, false, ERR_NOT_SINGLE_CHANNEL},
      {RandomImage(4, 6, CV_8UC2), 2, true, ERR_NOT_SINGLE_CHANNEL},
      {RandomImage(4, 6, CV_8UC1), 1, false, ERR_PARAM_1},
      {RandomImage(4, 6, CV_8UC1), 5, true, ERR_PARAM_1},
      {RandomImage(4, 6, CV_8UC1), 0, true, ERR_PARAM_1},
      {RandomImage(4, 6, CV_8UC1), INT_MIN, true, ERR_PARAM_1},
      {RandomImage(4, 6, CV_8UC1), INT_MAX, true, ERR_PARAM_1},
      {RandomImage(4, 6, CV_8UC1), 4, false, ERR_IMAGE_EMPTY},
      {RandomImage(4, 6, CV_8UC1), 4, true, STATUS_OK},
  };
  RecordedLog log;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const SeparateCase& c = cases[i];
    KelImageOperation op;
    KelImage image(c.image);
    KelImageArray dst = {KelImage(), KelImage(), KelImage()};
    EXPECT_EQ(op.ImageRowSeparate(image, c.has_output ? &dst : nullptr, c.count), c.status);
    std::vector<LogRecord> records = {StartRecord("ImageRowSeparate", 7514)};
    if (c.status == STATUS_OK) {
      records.push_back(ExitRecord("ImageRowSeparate", 7562));
      EXPECT_EQ(dst.Length(), c.count);
    } else {
      EXPECT_EQ(dst.Length(), 3);
    }
    EXPECT_EQ(log.Take(), records);
  }
}

}  // namespace
}  // namespace kelra_test
