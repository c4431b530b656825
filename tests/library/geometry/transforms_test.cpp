#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "every_instruction_set.h"
#include "fake_settings.h"
#include "recorded_log.h"
#include "test_images.h"

namespace {

using namespace KELRA;
using kelra_test::GuardedImage;
using kelra_test::RandomImage;
using kelra_test::SameImage;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const cv::Size kSizes[] = {{1, 1}, {1, 9}, {9, 1}, {7, 5}, {64, 33}, {131, 70}};
constexpr int kAnyChannels[] = {CV_8UC1, CV_8UC2, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC3, CV_16UC4};

cv::Mat Transposed(const cv::Mat& image) {
  cv::Mat result(image.cols, image.rows, image.type());
  const std::size_t pixel = image.elemSize();
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      std::memcpy(result.ptr(column) + static_cast<std::size_t>(row) * pixel,
                  image.ptr(row) + static_cast<std::size_t>(column) * pixel, pixel);
    }
  }
  return result;
}

// The image moved by whole pixels, 0 where nothing lands.
cv::Mat Moved(const cv::Mat& image, int right, int down) {
  cv::Mat result = cv::Mat::zeros(image.size(), image.type());
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      const cv::Point from(column - right, row - down);
      if (cv::Rect(cv::Point(), image.size()).contains(from)) {
        image(cv::Rect(from, cv::Size(1, 1))).copyTo(result(cv::Rect(column, row, 1, 1)));
      }
    }
  }
  return result;
}

KelPointArray Points(std::initializer_list<KelPoint> points) { return points; }

KelPointArray PointsMovedBy(const KelPointArray& points, double right, double down) {
  KelPointArray moved;
  for (int i = 0; i < points.Length(); ++i) {
    moved.Append({points[i].x + right, points[i].y + down});
  }
  return moved;
}

std::vector<cv::Point2f> Narrowed(const KelPointArray& points) {
  std::vector<cv::Point2f> narrowed;
  for (int i = 0; i < points.Length(); ++i) {
    narrowed.emplace_back(static_cast<float>(points[i].x), static_cast<float>(points[i].y));
  }
  return narrowed;
}

// The two warps under one signature, and what OpenCV makes of the same call.
struct WarpMethod {
  const char* name;
  int start_line;
  int exit_line;
  KelPointArray from;
  KelPointArray to;
  KelLong (KelImageOperation::*method)(KelImage&, KelImage*, KelPointArray&, KelPointArray&);
  cv::Mat (*bare)(const cv::Mat&, const KelPointArray&, const KelPointArray&);
};

cv::Mat BareAffine(const cv::Mat& image, const KelPointArray& from, const KelPointArray& to) {
  cv::Mat result;
  cv::warpAffine(image, result, cv::getAffineTransform(Narrowed(from), Narrowed(to)), image.size(),
                 cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar::all(0));
  return result;
}

cv::Mat BarePerspective(const cv::Mat& image, const KelPointArray& from, const KelPointArray& to) {
  cv::Mat result;
  cv::warpPerspective(image, result, cv::getPerspectiveTransform(Narrowed(from), Narrowed(to)),
                      image.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar::all(0));
  return result;
}

class Warps : public testing::TestWithParam<WarpMethod> {
 protected:
  KelLong Run(KelImage& src, KelImage* dst, KelPointArray from, KelPointArray to) {
    return (operation_.*GetParam().method)(src, dst, from, to);
  }

  KelImageOperation operation_;
};

INSTANTIATE_TEST_SUITE_P(
    , Warps,
    testing::Values(WarpMethod{"Affine", 10079, 10118, Points({{0, 0}, {20, 1}, {2.5, 15}}),
                               Points({{3, 1.25}, {19, 6}, {1, 14}}), &KelImageOperation::Affine,
                               BareAffine},
                    WarpMethod{"Perspective", 10128, 10168,
                               Points({{0, 0}, {20, 1}, {21, 16}, {2.5, 15}}),
                               Points({{3, 1.25}, {19, 6}, {17, 12}, {1, 14}}),
                               &KelImageOperation::Perspective, BarePerspective}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_P(Warps, GiveTheBytesOfOpenCvForEverySizeTypeAndStride) {
  const WarpMethod& method = GetParam();
  for (const cv::Size size : kSizes) {
    for (const int type : kAnyChannels) {
      SCOPED_TRACE(testing::Message() << size << ' ' << kelra_test::TypeName(type));
      const cv::Mat pixels = RandomImage(size.height, size.width, type);
      GuardedImage guarded(pixels, 6, 64);
      KelImage src(guarded.Mat());
      KelImage dst;
      ASSERT_EQ(Run(src, &dst, method.from, method.to), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), method.bare(pixels, method.from, method.to)));
      EXPECT_TRUE(SameImage(src.Mat(), pixels));
      EXPECT_TRUE(guarded.SurroundingsUntouched());
    }
  }
}

TEST_P(Warps, ReproduceTheInputWhereThePointsStay) {
  for (const int type : kelra_test::kPixelTypes) {
    KelImage src(RandomImage(33, 47, type));
    KelImage dst;
    ASSERT_EQ(Run(src, &dst, GetParam().from, GetParam().from), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), src.Mat()));
  }
}

TEST_P(Warps, MapFromOntoToAndLeaveZeroWhereNothingLands) {
  for (const int type : kelra_test::kPixelTypes) {
    for (const cv::Point by : {cv::Point(3, 0), cv::Point(0, -4), cv::Point(-7, 9)}) {
      KelImage src(RandomImage(33, 47, type));
      KelImage dst;
      ASSERT_EQ(Run(src, &dst, GetParam().from, PointsMovedBy(GetParam().from, by.x, by.y)),
                STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), Moved(src.Mat(), by.x, by.y))) << by;
    }
  }
}

TEST_P(Warps, NarrowThePointsToSinglePrecision) {
  KelImage src(RandomImage(33, 47, CV_8UC1));
  KelImage dst;
  // The fractions vanish in single precision, and with them what would shift the image.
  const double vanishing = 1e-9;
  KelPointArray to = PointsMovedBy(PointsMovedBy(GetParam().from, 1, 1), vanishing, -vanishing);
  ASSERT_EQ(Run(src, &dst, PointsMovedBy(GetParam().from, 1, 1), to), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), src.Mat()));
}

TEST_P(Warps, GiveTheSameResultWhenTheOutputIsOrOverlapsTheInput) {
  const WarpMethod& method = GetParam();
  const cv::Mat pixels = RandomImage(40, 50, CV_8UC3);
  const cv::Mat expected = method.bare(pixels, method.from, method.to);
  KelImage same(pixels.clone());
  ASSERT_EQ(Run(same, &same, method.from, method.to), STATUS_OK);
  EXPECT_TRUE(SameImage(same.Mat(), expected));

  cv::Mat memory(41, 50, CV_8UC3);
  pixels.copyTo(memory.rowRange(0, 40));
  KelImage upper(memory.rowRange(0, 40));
  KelImage lower(memory.rowRange(1, 41));
  ASSERT_EQ(Run(upper, &lower, method.from, method.to), STATUS_OK);
  EXPECT_TRUE(SameImage(lower.Mat(), expected));
  EXPECT_TRUE(SameImage(upper.Mat(), pixels));
}

TEST_P(Warps, WriteIntoAnOutputOfTheResultsSizeAndType) {
  KelImage src(RandomImage(33, 47, CV_8UC1));
  GuardedImage output(RandomImage(33, 47, CV_8UC1, 2), 3, 16);
  KelImage dst(output.Mat());
  ASSERT_EQ(Run(src, &dst, GetParam().from, GetParam().to), STATUS_OK);
  EXPECT_EQ(dst.ImageData(), output.Mat().data);
  EXPECT_TRUE(output.SurroundingsUntouched());
  EXPECT_TRUE(SameImage(dst.Mat(), GetParam().bare(src.Mat(), GetParam().from, GetParam().to)));
}

TEST_P(Warps, TellTheFirstFaultAndLeaveTheOutput) {
  const KelPointArray good = GetParam().from;
  KelPointArray longer = good;
  longer.Append({1, 1});
  KelPointArray shorter;
  for (int i = 0; i + 1 < good.Length(); ++i) shorter.Append(good[i]);
  struct Case {
    cv::Mat image;
    KelPointArray from;
    KelPointArray to;
    KelLong status;
  };
  for (const Case& c :
       std::vector<Case>{{cv::Mat(), shorter, good, ERR_IMAGE_EMPTY},
                         {cv::Mat(0, 5, CV_32F), shorter, good, ERR_IMAGE_EMPTY},
                         {cv::Mat(5, 0, CV_32F), shorter, good, ERR_IMAGE_EMPTY},
                         {cv::Mat(5, 5, CV_8S, cv::Scalar(0)), shorter, good, ERR_BIT_DEPTH},
                         {cv::Mat(5, 5, CV_32F, cv::Scalar(0)), shorter, good, ERR_BIT_DEPTH},
                         {RandomImage(5, 5, CV_8UC1), shorter, good, ERR_POINT_COUNT},
                         {RandomImage(5, 5, CV_8UC1), longer, good, ERR_POINT_COUNT},
                         {RandomImage(5, 5, CV_8UC1), good, shorter, ERR_POINT_COUNT},
                         {RandomImage(5, 5, CV_8UC1), good, longer, ERR_POINT_COUNT},
                         {RandomImage(5, 5, CV_8UC1), {}, {}, ERR_POINT_COUNT}}) {
    KelImage src(c.image);
    const cv::Mat before = RandomImage(5, 5, CV_8UC1, 3);
    KelImage dst(before.clone());
    const void* data = dst.ImageData();
    kelra_test::RecordedLog log;
    EXPECT_EQ(Run(src, &dst, c.from, c.to), c.status);
    EXPECT_EQ(dst.ImageData(), data);
    EXPECT_TRUE(SameImage(dst.Mat(), before));
    EXPECT_EQ(log.Take(), std::vector<kelra_test::LogRecord>{
                              kelra_test::StartRecord(GetParam().name, GetParam().start_line)});
    // The missing output is told last.
    EXPECT_EQ(Run(src, nullptr, c.from, c.to), c.status);
  }
  KelImage src(RandomImage(5, 5, CV_8UC1));
  EXPECT_EQ(Run(src, nullptr, good, good), ERR_IMAGE_EMPTY);
}

TEST_P(Warps, LogStartAndExit) {
  KelImage src(RandomImage(5, 5, CV_8UC1));
  KelImage dst;
  kelra_test::RecordedLog log;
  ASSERT_EQ(Run(src, &dst, GetParam().from, GetParam().to), STATUS_OK);
  EXPECT_EQ(log.Take(), (std::vector<kelra_test::LogRecord>{
                            kelra_test::StartRecord(GetParam().name, GetParam().start_line),
                            kelra_test::ExitRecord(GetParam().name, GetParam().exit_line)}));
}

TEST_P(Warps, TakePointsThatDetermineNoMap) {
  const int count = GetParam().from.Length();
  for (const double value : {0.0, 1e300, kNaN, std::numeric_limits<double>::infinity()}) {
    KelPointArray all_alike;
    for (int i = 0; i < count; ++i) all_alike.Append({value, value});
    GuardedImage guarded(RandomImage(33, 47, CV_8UC1), 0, 0);
    KelImage src(guarded.Mat());
    KelImage dst;
    EXPECT_EQ(Run(src, &dst, all_alike, GetParam().to), STATUS_OK);
    EXPECT_EQ(Run(src, &dst, GetParam().from, all_alike), STATUS_OK);
    EXPECT_EQ(dst.Mat().size(), src.Mat().size());
  }
}

TEST_P(Warps, AreThoseOfOpenCvHoweverFarThePointsLie) {
  const WarpMethod& method = GetParam();
  for (const double scale : {1e-30, 1e-6, 1e-3, 1e3, 1e6, 1e9, 1e30, kNaN}) {
    KelPointArray far;
    for (int i = 0; i < method.to.Length(); ++i) {
      far.Append({method.to[i].x * scale, method.to[i].y * scale});
    }
    for (const int type : kelra_test::kPixelTypes) {
      KelImage src(RandomImage(33, 47, type));
      KelImage dst;
      ASSERT_EQ(Run(src, &dst, method.from, far), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), method.bare(src.Mat(), method.from, far))) << scale;
      ASSERT_EQ(Run(src, &dst, far, method.to), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), method.bare(src.Mat(), far, method.to))) << scale;
    }
  }
}

TEST_P(Warps, GiveTheSameBytesUnderEveryParallelSetting) {
  const WarpMethod& method = GetParam();
  KelImage src(RandomImage(700, 900, CV_16UC3));
  const cv::Mat expected = method.bare(src.Mat(), method.from, method.to);
  for (const int parallel : kelra_test::ParallelSettingsFor(src.Height())) {
    const kelra_test::ScopedSettings settings({.parallel = parallel});
    KelImage dst;
    ASSERT_EQ(Run(src, &dst, method.from, method.to), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), expected)) << parallel;
  }
}

class TransposeOnEverySet : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(TransposeOnEverySet);

TEST_P(TransposeOnEverySet, ExchangesRowsAndColumnsOfEverySize) {
  KelImageOperation operation;
  for (const int type : {CV_8UC1, CV_16UC1}) {
    for (int height = 1; height <= 70; ++height) {
      for (const int width : {1, 2, 7, 8, 9, 15, 16, 17, 24, 31, 32, 33, 63, 64, 65, 70, 130}) {
        GuardedImage input(RandomImage(height, width, type), 4, 6);
        GuardedImage output(cv::Mat::zeros(width, height, type), 2, 10);
        KelImage src(input.Mat());
        KelImage dst(output.Mat());
        ASSERT_EQ(operation.Transpose(src, &dst), STATUS_OK);
        ASSERT_TRUE(SameImage(output.Mat(), Transposed(input.Mat()))) << width << " x " << height;
        ASSERT_TRUE(output.SurroundingsUntouched()) << width << " x " << height;
      }
    }
  }
}

TEST(Transpose, GivesTheSameBytesUnderEveryParallelSetting) {
  KelImageOperation operation;
  for (const int type : kelra_test::kPixelTypes) {
    KelImage src(RandomImage(1100, 1003, type));
    const cv::Mat expected = Transposed(src.Mat());
    for (const int parallel : kelra_test::ParallelSettingsFor(src.Width())) {
      const kelra_test::ScopedSettings settings({.parallel = parallel});
      KelImage dst;
      ASSERT_EQ(operation.Transpose(src, &dst), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), expected)) << parallel;
    }
  }
}

TEST(Transpose, ExchangesRowsAndColumns) {
  for (const cv::Size size : kSizes) {
    for (const int type : kelra_test::kPixelTypes) {
      SCOPED_TRACE(testing::Message() << size << ' ' << kelra_test::TypeName(type));
      const cv::Mat pixels = RandomImage(size.height, size.width, type);
      GuardedImage guarded(pixels, 6, 64);
      KelImage src(guarded.Mat());
      KelImage dst;
      KelImageOperation operation;
      ASSERT_EQ(operation.Transpose(src, &dst), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), Transposed(pixels)));
      EXPECT_TRUE(guarded.SurroundingsUntouched());
    }
  }
}

TEST(Transpose, GivesTheSameResultWhenTheOutputIsOrOverlapsTheInput) {
  KelImageOperation operation;
  for (const cv::Size size : {cv::Size(30, 30), cv::Size(30, 20), cv::Size(1, 20)}) {
    const cv::Mat pixels = RandomImage(size.height, size.width, CV_16UC1);
    KelImage same(pixels.clone());
    ASSERT_EQ(operation.Transpose(same, &same), STATUS_OK);
    EXPECT_TRUE(SameImage(same.Mat(), Transposed(pixels)));
  }
  cv::Mat memory = RandomImage(31, 30, CV_8UC1);
  KelImage upper(memory.rowRange(0, 30));
  const cv::Mat expected = Transposed(upper.Mat());
  KelImage lower(memory.rowRange(1, 31));
  ASSERT_EQ(operation.Transpose(upper, &lower), STATUS_OK);
  EXPECT_TRUE(SameImage(lower.Mat(), expected));
}

TEST(Transpose, TellsTheFirstFaultAndLeavesTheOutput) {
  struct Case {
    cv::Mat image;
    KelLong status;
  };
  for (const Case& c : std::vector<Case>{{cv::Mat(), ERR_IMAGE_EMPTY},
                                         {cv::Mat(0, 5, CV_32FC2), ERR_IMAGE_EMPTY},
                                         {cv::Mat(5, 0, CV_32FC2), ERR_IMAGE_EMPTY},
                                         {cv::Mat(5, 5, CV_16SC2, cv::Scalar(0)), ERR_BIT_DEPTH},
                                         {cv::Mat(5, 5, CV_64FC1, cv::Scalar(0)), ERR_BIT_DEPTH},
                                         {RandomImage(5, 5, CV_8UC2), ERR_CHANNEL_COUNT},
                                         {RandomImage(5, 5, CV_16UC4), ERR_CHANNEL_COUNT}}) {
    KelImageOperation operation;
    KelImage src(c.image);
    const cv::Mat before = RandomImage(5, 5, c.image.type() == CV_8UC2 ? CV_8UC2 : CV_8UC1, 3);
    KelImage dst(before.clone());
    const void* data = dst.ImageData();
    kelra_test::RecordedLog log;
    EXPECT_EQ(operation.Transpose(src, &dst), c.status);
    EXPECT_EQ(operation.Transpose(src, nullptr), c.status);
    EXPECT_EQ(dst.ImageData(), data);
    EXPECT_TRUE(SameImage(dst.Mat(), before));
    const kelra_test::LogRecord start = kelra_test::StartRecord("Transpose", 10050);
    EXPECT_EQ(log.Take(), (std::vector<kelra_test::LogRecord>{start, start}));
  }
  KelImage src(RandomImage(5, 5, CV_8UC1));
  EXPECT_EQ(KelImageOperation().Transpose(src, nullptr), ERR_IMAGE_EMPTY);
}

TEST(Transpose, LogsStartAndExit) {
  KelImageOperation operation;
  KelImage src(RandomImage(5, 4, CV_8UC1));
  KelImage dst;
  kelra_test::RecordedLog log;
  ASSERT_EQ(operation.Transpose(src, &dst), STATUS_OK);
  EXPECT_EQ(log.Take(),
            (std::vector<kelra_test::LogRecord>{kelra_test::StartRecord("Transpose", 10050),
                                                kelra_test::ExitRecord("Transpose", 10069)}));
}

TEST(Transpose, WritesIntoAnOutputOfTheResultsSizeAndType) {
  KelImageOperation operation;
  KelImage src(RandomImage(33, 47, CV_8UC3));
  GuardedImage output(RandomImage(47, 33, CV_8UC3, 2), 3, 16);
  KelImage dst(output.Mat());
  ASSERT_EQ(operation.Transpose(src, &dst), STATUS_OK);
  EXPECT_EQ(dst.ImageData(), output.Mat().data);
  EXPECT_TRUE(SameImage(dst.Mat(), Transposed(src.Mat())));
  EXPECT_TRUE(output.SurroundingsUntouched());
}

}  // namespace
