#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "fake_settings.h"
#include "geometry/polar_maps.h"
#include "polar.h"
#include "recorded_log.h"
#include "test_images.h"

namespace {

using namespace KELRA;
using kelra_reference::Sector;
using kelra_reference::SourceMaps;
using kelra_test::ExitRecord;
using kelra_test::GuardedImage;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::StartRecord;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

constexpr int kAnyChannels[] = {CV_8UC1, CV_8UC2, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC3};

// Small ones with every kind of row end, and one that is split among threads and strips.
std::vector<cv::Size> Sizes() {
  std::vector<cv::Size> sizes = {{1, 40}, {300, 200}, {40, 300}, {9000, 3}};
  for (int width = 1; width <= 70; ++width) sizes.emplace_back(width, 5);
  return sizes;
}

cv::Mat Remapped(const cv::Mat& image, const SourceMaps& maps) {
  cv::Mat result;
  cv::remap(image, result, maps.columns, maps.rows, cv::INTER_LINEAR, cv::BORDER_CONSTANT,
            cv::Scalar::all(0));
  return result;
}

// A centre within the image that is no whole pixel, where there is room for one.
cv::Point2f CenterOf(cv::Size size) {
  return {static_cast<float>(size.width - 1) * 0.4F, static_cast<float>(size.height - 1) * 0.7F};
}

constexpr Sector kSectors[] = {{0, 360, 0, 100}, {0, 360, 0, 1},     {30, 75.5F, 3, 40},
                               {0, 180, 1, 2},   {359, 360, 10, 90}, {0.5F, 1, 0, 2147483647}};

KelLong Unwarp(KelImage& src, KelImage* dst, cv::Point2f center, const Sector& sector) {
  return KelImageOperation().Unwarp(src, dst, center.x, center.y, sector.start_angle,
                                    sector.end_angle, sector.inner_radius, sector.outer_radius);
}

TEST(Warp, SamplesEveryPixelFromItsAngleAndRadius) {
  for (const cv::Size size : Sizes()) {
    for (const int type : kAnyChannels) {
      SCOPED_TRACE(testing::Message() << size << ' ' << kelra_test::TypeName(type));
      const cv::Mat pixels = RandomImage(size.height, size.width, type);
      const cv::Point2f center = CenterOf(size);
      GuardedImage guarded(pixels, 6, 64);
      KelImage src(guarded.Mat());
      KelImage dst;
      ASSERT_EQ(KelImageOperation().Warp(src, &dst, center.x, center.y), STATUS_OK);
      ASSERT_TRUE(SameImage(
          dst.Mat(), Remapped(pixels, kelra_reference::UnrollingMaps(size, center.x, center.y))));
      EXPECT_TRUE(guarded.SurroundingsUntouched());
    }
  }
}

TEST(Warp, AroundTheCornerShowsTheFirstRowAndAQuarterTurnLaterTheFirstColumn) {
  const cv::Mat pixels = RandomImage(100, 100, CV_8UC1);
  KelImage src(pixels);
  KelImage dst;
  ASSERT_EQ(KelImageOperation().Warp(src, &dst, 0, 0), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat().row(0), pixels.row(0)));
  EXPECT_TRUE(SameImage(dst.Mat().row(25), pixels.col(0).t()));
}

TEST(Warp, TellsTheFirstFaultAndLeavesTheOutput) {
  struct Case {
    cv::Mat image;
    float x, y;
    KelLong status;
  };
  const cv::Mat image = RandomImage(8, 10, CV_8UC1);
  for (const Case& c : std::vector<Case>{{cv::Mat(), -1, -1, ERR_IMAGE_EMPTY},
                                         {cv::Mat(0, 5, CV_32F), -1, -1, ERR_IMAGE_EMPTY},
                                         {cv::Mat(5, 0, CV_32F), -1, -1, ERR_IMAGE_EMPTY},
                                         {cv::Mat(5, 5, CV_32F), -1, -1, ERR_BIT_DEPTH},
                                         {image, -0.001F, -1, ERR_PARAM_1},
                                         {image, 9.5F, -1, ERR_PARAM_1},
                                         {image, kNaN, kNaN, ERR_PARAM_1},
                                         {image, kInfinity, 0, ERR_PARAM_1},
                                         {image, -kInfinity, 0, ERR_PARAM_1},
                                         {image, 9, -0.001F, ERR_PARAM_2},
                                         {image, 0, 7.001F, ERR_PARAM_2},
                                         {image, 0, kNaN, ERR_PARAM_2}}) {
    KelImage src(c.image);
    const cv::Mat before = RandomImage(8, 10, CV_8UC1, 3);
    KelImage dst(before.clone());
    const void* data = dst.ImageData();
    kelra_test::RecordedLog log;
    EXPECT_EQ(KelImageOperation().Warp(src, &dst, c.x, c.y), c.status) << c.x << ", " << c.y;
    EXPECT_EQ(log.Take(), std::vector<kelra_test::LogRecord>{StartRecord("Warp", 10254)});
    EXPECT_EQ(KelImageOperation().Warp(src, nullptr, c.x, c.y), c.status);
    EXPECT_EQ(dst.ImageData(), data);
    EXPECT_TRUE(SameImage(dst.Mat(), before));
  }
  KelImage src(image);
  EXPECT_EQ(KelImageOperation().Warp(src, nullptr, 0, 0), ERR_IMAGE_EMPTY);
}

TEST(Warp, TakesACentreOnEveryEdge) {
  KelImage src(RandomImage(8, 10, CV_8UC1));
  KelImage dst;
  for (const cv::Point2f center : {cv::Point2f(0, 0), cv::Point2f(9, 0), cv::Point2f(0, 7),
                                   cv::Point2f(9, 7), cv::Point2f(-0.0F, -0.0F)}) {
    EXPECT_EQ(KelImageOperation().Warp(src, &dst, center.x, center.y), STATUS_OK) << center;
  }
}

TEST(Warp, PassesOpenCvsExceptionAndLeavesTheOutput) {
  KelImage src(RandomImage(1, 40000, CV_8UC1));
  const cv::Mat before = RandomImage(1, 40000, CV_8UC1, 3);
  KelImage dst(before.clone());
  EXPECT_THROW(static_cast<void>(KelImageOperation().Warp(src, &dst, 0, 0)), cv::Exception);
  EXPECT_TRUE(SameImage(dst.Mat(), before));
}

TEST(Warp, LogsStartAndExit) {
  KelImage src(RandomImage(5, 4, CV_8UC1));
  KelImage dst;
  kelra_test::RecordedLog log;
  ASSERT_EQ(KelImageOperation().Warp(src, &dst, 1, 1), STATUS_OK);
  EXPECT_EQ(log.Take(), (std::vector<kelra_test::LogRecord>{StartRecord("Warp", 10254),
                                                            ExitRecord("Warp", 10311)}));
}

TEST(Unwarp, SamplesEveryPixelFromItsPlaceInTheStrip) {
  for (const cv::Size size : Sizes()) {
    for (const Sector& sector : kSectors) {
      const int type = kAnyChannels[(size.width + sector.inner_radius) % 6];
      SCOPED_TRACE(testing::Message()
                   << size << ' ' << kelra_test::TypeName(type) << " from " << sector.start_angle);
      const cv::Mat pixels = RandomImage(size.height, size.width, type);
      const cv::Point2f center = CenterOf(size);
      GuardedImage guarded(pixels, 6, 64);
      KelImage src(guarded.Mat());
      KelImage dst;
      ASSERT_EQ(Unwarp(src, &dst, center, sector), STATUS_OK);
      ASSERT_TRUE(SameImage(dst.Mat(), Remapped(pixels, kelra_reference::RollingMaps(
                                                            size, center.x, center.y, sector))));
      EXPECT_TRUE(guarded.SurroundingsUntouched());
    }
  }
}

// Against geometry alone: OpenCV's angles are approximate, its radii exact but for rounding.
TEST(Unwarp, PlacesRadiiAndAnglesWhereTheyBelong) {
  const cv::Size size(120, 90);
  const cv::Point2d center(50.5, 40.25);
  const Sector sector{20, 300, 10, 60};
  RollingMap map(size, center, {20, 300, 10, 60});
  cv::Mat columns(size, CV_32F);
  cv::Mat rows(size, CV_32F);
  map.ComputeRows(0, &columns, &rows);
  int in_sector = 0;
  for (int i = 0; i < size.height; ++i) {
    for (int j = 0; j < size.width; ++j) {
      const double radius = std::hypot(j - center.x, i - center.y);
      double degrees = std::atan2(i - center.y, j - center.x) * 180 / CV_PI;
      if (degrees < 0) degrees += 360;
      const float column = columns.at<float>(i, j);
      const float row = rows.at<float>(i, j);
      if (radius < sector.inner_radius) {
        EXPECT_EQ(column, -1);
      } else {
        EXPECT_NEAR(column, (radius - 10) * 120 / 50, 1e-3);
      }
      const double first = 360 - 300;
      const double last = 360 - 20;
      if (degrees < first - 0.3 || degrees > last + 0.3) {
        EXPECT_EQ(row, -1);
      } else if (degrees > first + 0.3 && degrees < last - 0.3) {
        EXPECT_NEAR(row, (degrees - first) * 90 / 280, 0.3 * 90 / 280);
        ++in_sector;
      }
    }
  }
  EXPECT_GT(in_sector, 5000);
}

TEST(Unwarp, LeavesZeroBeforeTheInnerAndBeyondTheOuterRadius) {
  KelImage src(cv::Mat(100, 100, CV_8UC1, cv::Scalar(200)));
  KelImage dst;
  ASSERT_EQ(Unwarp(src, &dst, {50, 50}, {0, 360, 20, 40}), STATUS_OK);
  for (int i = 0; i < 100; ++i) {
    for (int j = 0; j < 100; ++j) {
      const double radius = std::hypot(j - 50, i - 50);
      if (radius < 20 || radius > 41) {
        EXPECT_EQ(dst.Mat().at<std::uint8_t>(i, j), 0) << i << ", " << j;
      } else if (radius > 21 && radius < 39 && std::abs(i - 50) > 3) {
        EXPECT_EQ(dst.Mat().at<std::uint8_t>(i, j), 200) << i << ", " << j;
      }
    }
  }
}

TEST(Unwarp, TellsTheFirstFaultAndLeavesTheOutput) {
  struct Case {
    cv::Mat image;
    cv::Point2f center;
    Sector sector;
    KelLong status;
  };
  const cv::Mat image = RandomImage(8, 10, CV_8UC1);
  for (const Case& c :
       std::vector<Case>{{cv::Mat(), {-1, -1}, {-1, 0, -1, 0}, ERR_IMAGE_EMPTY},
                         {cv::Mat(0, 5, CV_32F), {-1, -1}, {-1, 0, -1, 0}, ERR_IMAGE_EMPTY},
                         {cv::Mat(5, 5, CV_32F), {-1, -1}, {-1, 0, -1, 0}, ERR_BIT_DEPTH},
                         {image, {-0.5F, -1}, {-1, 0, -1, 0}, ERR_PARAM_1},
                         {image, {9.25F, -1}, {-1, 0, -1, 0}, ERR_PARAM_1},
                         {image, {kNaN, -1}, {-1, 0, -1, 0}, ERR_PARAM_1},
                         {image, {9, -1}, {-1, 0, -1, 0}, ERR_PARAM_2},
                         {image, {9, 7.5F}, {-1, 0, -1, 0}, ERR_PARAM_2},
                         {image, {9, kNaN}, {-1, 0, -1, 0}, ERR_PARAM_2},
                         {image, {9, 7}, {-1, 0, -1, 0}, ERR_PARAM_3},
                         {image, {9, 7}, {360.5F, 0, -1, 0}, ERR_PARAM_3},
                         {image, {9, 7}, {kNaN, 0, -1, 0}, ERR_PARAM_3},
                         {image, {9, 7}, {0, 0, -1, 0}, ERR_PARAM_4},
                         {image, {9, 7}, {360, 361, -1, 0}, ERR_PARAM_4},
                         {image, {9, 7}, {0, kNaN, -1, 0}, ERR_PARAM_4},
                         {image, {9, 7}, {90, 90, -1, 0}, ERR_PARAM_3},
                         {image, {9, 7}, {91, 90, -1, 0}, ERR_PARAM_3},
                         {image, {9, 7}, {360, 360, -1, 0}, ERR_PARAM_3},
                         {image, {9, 7}, {0, 360, -1, 0}, ERR_PARAM_5},
                         {image, {9, 7}, {0, 360, 0, 0}, ERR_PARAM_6},
                         {image, {9, 7}, {0, 360, 5, -5}, ERR_PARAM_6},
                         {image, {9, 7}, {0, 360, 5, 5}, ERR_PARAM_5},
                         {image, {9, 7}, {0, 360, 6, 5}, ERR_PARAM_5}}) {
    KelImage src(c.image);
    const cv::Mat before = RandomImage(8, 10, CV_8UC1, 3);
    KelImage dst(before.clone());
    const void* data = dst.ImageData();
    kelra_test::RecordedLog log;
    EXPECT_EQ(Unwarp(src, &dst, c.center, c.sector), c.status)
        << c.center << ' ' << c.sector.start_angle << ' ' << c.sector.end_angle;
    EXPECT_EQ(log.Take(), std::vector<kelra_test::LogRecord>{StartRecord("Unwarp", 10392)});
    EXPECT_EQ(Unwarp(src, nullptr, c.center, c.sector), c.status);
    EXPECT_EQ(dst.ImageData(), data);
    EXPECT_TRUE(SameImage(dst.Mat(), before));
  }
  KelImage src(image);
  EXPECT_EQ(Unwarp(src, nullptr, {0, 0}, {0, 360, 0, 1}), ERR_IMAGE_EMPTY);
}

TEST(Unwarp, LogsItsStripsTransformUnderItsOwnName) {
  KelImage src(RandomImage(5, 4, CV_8UC1));
  KelImage dst;
  kelra_test::RecordedLog log;
  ASSERT_EQ(Unwarp(src, &dst, {1, 1}, {0, 360, 0, 1}), STATUS_OK);
  EXPECT_EQ(log.Take(), (std::vector<kelra_test::LogRecord>{
                            StartRecord("Unwarp", 10392), StartRecord("cvNewPolarInvImage", 10321),
                            ExitRecord("cvNewPolarInvImage", 10382), ExitRecord("Unwarp", 10450)}));
}

TEST(Unwarp, PassesOpenCvsExceptionAndLeavesTheOutput) {
  KelImage src(RandomImage(40000, 1, CV_8UC1));
  const cv::Mat before = RandomImage(40000, 1, CV_8UC1, 3);
  KelImage dst(before.clone());
  EXPECT_THROW(static_cast<void>(Unwarp(src, &dst, {0, 0}, {0, 360, 0, 1})), cv::Exception);
  EXPECT_TRUE(SameImage(dst.Mat(), before));
}

TEST(PolarTransforms, GiveTheSameResultWhenTheOutputIsOrOverlapsTheInput) {
  const cv::Mat pixels = RandomImage(200, 300, CV_8UC3);
  const cv::Mat unrolled =
      Remapped(pixels, kelra_reference::UnrollingMaps(pixels.size(), 150, 100));
  const cv::Mat rolled =
      Remapped(pixels, kelra_reference::RollingMaps(pixels.size(), 150, 100, {10, 300, 5, 90}));
  KelImage same(pixels.clone());
  ASSERT_EQ(KelImageOperation().Warp(same, &same, 150, 100), STATUS_OK);
  EXPECT_TRUE(SameImage(same.Mat(), unrolled));
  same = KelImage(pixels.clone());
  ASSERT_EQ(Unwarp(same, &same, {150, 100}, {10, 300, 5, 90}), STATUS_OK);
  EXPECT_TRUE(SameImage(same.Mat(), rolled));

  cv::Mat memory(201, 300, CV_8UC3);
  KelImage upper(memory.rowRange(0, 200));
  pixels.copyTo(upper.Mat());
  KelImage lower(memory.rowRange(1, 201));
  ASSERT_EQ(KelImageOperation().Warp(upper, &lower, 150, 100), STATUS_OK);
  EXPECT_TRUE(SameImage(lower.Mat(), unrolled));
  EXPECT_TRUE(SameImage(upper.Mat(), pixels));
}

TEST(PolarTransforms, WriteIntoAnOutputOfTheResultsSizeAndType) {
  KelImage src(RandomImage(200, 300, CV_16UC1));
  GuardedImage output(RandomImage(200, 300, CV_16UC1, 2), 6, 16);
  KelImage dst(output.Mat());
  ASSERT_EQ(KelImageOperation().Warp(src, &dst, 20, 30), STATUS_OK);
  EXPECT_EQ(dst.ImageData(), output.Mat().data);
  EXPECT_TRUE(SameImage(
      dst.Mat(), Remapped(src.Mat(), kelra_reference::UnrollingMaps(src.Mat().size(), 20, 30))));
  EXPECT_TRUE(output.SurroundingsUntouched());
}

TEST(PolarTransforms, GiveTheSameBytesUnderEveryParallelSetting) {
  const cv::Size size(800, 500);
  KelImage src(RandomImage(size.height, size.width, CV_8UC3));
  const cv::Mat unrolled = Remapped(src.Mat(), kelra_reference::UnrollingMaps(size, 33, 44));
  const cv::Mat rolled =
      Remapped(src.Mat(), kelra_reference::RollingMaps(size, 33, 44, {10, 300, 5, 90}));
  for (const int parallel : kelra_test::ParallelSettingsFor(size.height)) {
    const kelra_test::ScopedSettings settings({.parallel = parallel});
    KelImage dst;
    ASSERT_EQ(KelImageOperation().Warp(src, &dst, 33, 44), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), unrolled)) << parallel;
    ASSERT_EQ(Unwarp(src, &dst, {33, 44}, {10, 300, 5, 90}), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), rolled)) << parallel;
  }
}

}  // namespace
