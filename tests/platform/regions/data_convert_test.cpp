#include <KELRA/KelDataConvert.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <opencv2/core.hpp>
#include <vector>

#include "run_grid.h"
#include "test_images.h"

namespace {

using namespace KELRA;  // the statuses' names
using kelra_test::GuardedImage;
using kelra_test::PlainRuns;
using kelra_test::SameImage;
using kelra_test::SameRuns;
using kelra_test::TypeName;

cv::Mat RandomMarks(cv::RNG& random, cv::Size size, int percent) {
  cv::Mat marks(size, CV_8UC1);
  for (int row = 0; row < size.height; ++row) {
    for (int column = 0; column < size.width; ++column) {
      marks.at<uchar>(row, column) = random.uniform(0, 100) < percent ? 1 : 0;
    }
  }
  return marks;
}

TEST(RegionToImage, PaintsRunsCutAtTheGrid) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  KelRegion region(6, 4);
  for (const KelRun& run : std::vector<KelRun>{{0, 1, 2},
                                               {0, 2, 3},
                                               {1, -5, 0},
                                               {1, 5, 99},
                                               {2, kMin, kMax},
                                               {3, 4, 2},
                                               {3, 6, 8},
                                               {-1, 0, 5},
                                               {4, 0, 5},
                                               {kMax, 0, 5}}) {
    region.Append(run);
  }
  KelImage image;
  ASSERT_EQ(KelDataConvert::KelRegionToImage(region, &image), 0);
  const uchar expected[] = {0,   255, 255, 255, 0,   0,    //
                            255, 0,   0,   0,   0,   255,  //
                            255, 255, 255, 255, 255, 255,  //
                            0,   0,   0,   0,   0,   0};
  EXPECT_TRUE(SameImage(image.Mat(), cv::Mat(4, 6, CV_8UC1, const_cast<uchar*>(expected))));
}

TEST(RegionToImage, LeavesTheOldPixelsOfTheOutputAlone) {
  KelRegion region(3, 2);
  region.Append({0, 0, 2});
  KelImage image(cv::Mat(2, 3, CV_8UC1, cv::Scalar(9)));
  const cv::Mat keeper = image.Mat();
  ASSERT_EQ(KelDataConvert::KelRegionToImage(region, &image), 0);
  EXPECT_TRUE(SameImage(keeper, cv::Mat(2, 3, CV_8UC1, cv::Scalar(9))));
}

TEST(RegionToImage, RefusesAGridWithoutPixelsAndANullOutput) {
  KelImage image(cv::Mat(2, 3, CV_8UC1, cv::Scalar(9)));
  for (const auto& [width, height] : {std::pair(0, 0), {0, 5}, {5, 0}, {-2, 5}}) {
    KelRegion region(width, height);
    region.Append({0, 0, 2});
    EXPECT_EQ(KelDataConvert::KelRegionToImage(region, &image), KEL_CONVERT_ERR_EMPTY);
    EXPECT_EQ(image.Width(), 3);
    EXPECT_EQ(KelDataConvert::KelRegionToImage(region, nullptr), KEL_CONVERT_ERR_OUTPUT);
  }
}

TEST(RegionToImage, ResultThatDoesNotFitInMemoryIsAStatus) {
  KelRegion region(std::numeric_limits<int>::max(), std::numeric_limits<int>::max());
  KelImage image;
  EXPECT_EQ(KelDataConvert::KelRegionToImage(region, &image), KEL_CONVERT_ERR_MEMORY);
  EXPECT_EQ(image.Width(), 0);
}

TEST(ImageToRegion, FindsTheMaximalRunsAtEveryWidth) {
  cv::RNG random(31);
  for (int width = 1; width <= 200; ++width) {
    for (const int percent : {0, 10, 50, 90, 100}) {
      const cv::Mat marks = RandomMarks(random, {width, 4}, percent);
      KelImage image(marks);
      KelRegion region;
      ASSERT_EQ(KelDataConvert::KelImageToRegion(image, &region), 0);
      EXPECT_EQ(region.Width(), width);
      EXPECT_EQ(region.Height(), 4);
      ASSERT_TRUE(SameRuns(region.Runs(), PlainRuns(marks))) << width << ' ' << percent;
    }
  }
}

TEST(ImageToRegion, AnySampleThatIsNotZeroMarksThePixel) {
  cv::RNG random(32);
  for (const int depth : {CV_8U, CV_8S, CV_16U, CV_16S, CV_32S, CV_32F, CV_64F, CV_16F}) {
    for (const int channels : {1, 2, 3, 4, 7}) {
      const int type = CV_MAKETYPE(depth, channels);
      const cv::Mat marks = RandomMarks(random, {70, 5}, 50);
      cv::Mat pixels(marks.size(), type, cv::Scalar::all(0));
      pixels.reshape(1).setTo(cv::Scalar(0));
      const std::size_t sample = pixels.elemSize1();
      for (int row = 0; row < marks.rows; ++row) {
        for (int column = 0; column < marks.cols; ++column) {
          if (marks.at<uchar>(row, column) != 0) {
            // The least bit of one sample: the smallest value of every depth.
            const auto which = static_cast<std::size_t>(random.uniform(0, channels));
            pixels.ptr(row, column)[which * sample] = 1;
          }
        }
      }
      GuardedImage guarded(pixels, 16, 16);
      KelImage image(guarded.Mat());
      KelRegion region;
      ASSERT_EQ(KelDataConvert::KelImageToRegion(image, &region), 0);
      ASSERT_TRUE(SameRuns(region.Runs(), PlainRuns(marks))) << TypeName(type);
      EXPECT_TRUE(guarded.SurroundingsUntouched());
    }
  }
}

template <class Sample>
std::vector<KelRun> RunsOf(std::initializer_list<Sample> samples) {
  const std::vector<Sample> row(samples);
  KelImage image(cv::Mat(row).reshape(1, 1));
  KelRegion region;
  EXPECT_EQ(KelDataConvert::KelImageToRegion(image, &region), 0);
  return region.Runs();
}

TEST(ImageToRegion, NegativeZeroIsZeroAndNanIsNot) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<KelRun> expected = {{0, 2, 4}};
  EXPECT_TRUE(SameRuns(RunsOf<float>({0.0F, -0.0F, kNan, -1e-44F, 1.0F, -0.0F}), expected));
  EXPECT_TRUE(SameRuns(RunsOf<double>({0.0, -0.0, kNan, -1e-320, 1.0, -0.0}), expected));
  EXPECT_TRUE(SameRuns(
      RunsOf<cv::float16_t>({cv::float16_t(0.0F), cv::float16_t(-0.0F), cv::float16_t(kNan),
                             cv::float16_t(-6e-8F), cv::float16_t(1.0F), cv::float16_t(-0.0F)}),
      expected));
}

TEST(ImageToRegion, AndBackGivesTheImage) {
  cv::RNG random(33);
  const cv::Mat marks = RandomMarks(random, {130, 40}, 40) * 255;
  KelImage image(marks);
  KelRegion region;
  KelImage back;
  ASSERT_EQ(KelDataConvert::KelImageToRegion(image, &region), 0);
  ASSERT_EQ(KelDataConvert::KelRegionToImage(region, &back), 0);
  EXPECT_TRUE(SameImage(back.Mat(), marks));
}

TEST(ImageToRegion, RefusesEmptyImagesAndANullOutput) {
  const int sizes[] = {2, 2, 2};
  for (const cv::Mat& mat : {cv::Mat(), cv::Mat(0, 3, CV_8UC1), cv::Mat(3, sizes, CV_8UC1)}) {
    KelImage image(mat);
    KelRegion region(8, 9);
    EXPECT_EQ(KelDataConvert::KelImageToRegion(image, &region), KEL_CONVERT_ERR_EMPTY);
    EXPECT_EQ(region.Width(), 8);
    EXPECT_EQ(KelDataConvert::KelImageToRegion(image, nullptr), KEL_CONVERT_ERR_OUTPUT);
  }
}

}  // namespace
