#include "rim.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "run_grid.h"
#include "test_images.h"

namespace {

using kelra_test::AreMaximalRuns;
using kelra_test::Painted;
using kelra_test::PlainRuns;
using kelra_test::SameImage;

bool IsSet(const cv::Mat& image, int row, int column) {
  return row >= 0 && row < image.rows && column >= 0 && column < image.cols &&
         image.at<uchar>(row, column) != 0;
}

cv::Mat PlainRim(const cv::Mat& image) {
  cv::Mat rim = cv::Mat::zeros(image.size(), CV_8UC1);
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      const bool surrounded = IsSet(image, row - 1, column) && IsSet(image, row + 1, column) &&
                              IsSet(image, row, column - 1) && IsSet(image, row, column + 1);
      if (IsSet(image, row, column) && !surrounded) {
        rim.at<uchar>(row, column) = 255;
      }
    }
  }
  return rim;
}

TEST(Rim, OfNothingIsNothing) { EXPECT_TRUE(KELRA::RimOf({}).empty()); }

TEST(Rim, AgreesWithTheFourNeighboursOfEachPixel) {
  cv::RNG random(5);
  for (int trial = 0; trial < 3000; ++trial) {
    const int density = random.uniform(20, 256);
    cv::Mat image(random.uniform(1, 12), random.uniform(1, 24), CV_8UC1);
    for (int row = 0; row < image.rows; ++row) {
      // Empty rows between occupied ones now and then.
      const int limit = random.uniform(0, 8) == 0 ? 0 : density;
      for (int column = 0; column < image.cols; ++column) {
        image.at<uchar>(row, column) = random.uniform(0, 256) < limit ? 255 : 0;
      }
    }
    const auto rim = KELRA::RimOf(PlainRuns(image));
    ASSERT_TRUE(AreMaximalRuns(rim, image.size())) << "trial " << trial;
    ASSERT_TRUE(SameImage(Painted(rim, image.size()), PlainRim(image))) << "trial " << trial;
  }
}

}  // namespace
