#include "geometry/perspective_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <random>

#include "KELRA/KelImageOperation.h"
#include "every_instruction_set.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::GuardedImage;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::TypeName;
using kernels::PerspectiveRow;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

cv::Mat WarpedByOpenCv(const cv::Mat& image, const cv::Matx33d& transform) {
  cv::Mat warped;
  cv::warpPerspective(image, warped, transform, image.size(), cv::INTER_LINEAR,
                      cv::BORDER_CONSTANT);
  return warped;
}

cv::Mat WarpedByRows(const cv::Mat& image, const cv::Matx33d& transform) {
  const PerspectiveRows sampled(image, transform);
  GuardedImage warped(RandomImage(image.rows, image.cols, image.type(), 7), 4, 8);
  for (int row = 0; row < image.rows; ++row) {
    sampled.Write(row, warped.Mat().ptr(row));
  }
  EXPECT_TRUE(warped.SurroundingsUntouched());
  return warped.Mat().clone();
}

// The transform that leads back from a canvas to the image is the one given.
cv::Matx33d Seen(const cv::Matx33d& from_canvas) { return from_canvas.inv(); }

struct Warp {
  const char* name;
  cv::Matx33d transform;
};

const Warp kWarps[] = {
    {"unchanged", {1, 0, 0, 0, 1, 0, 0, 0, 1}},
    {"moved between pixels", {1, 0, 0.3, 0, 1, 7.77, 0, 0, 1}},
    {"moved out of sight", {1, 0, 1000, 0, 1, 0, 0, 0, 1}},
    {"seen by a part of its edge", {1, 0, -16.99, 0, 1, -4.98, 0, 0, 1}},
    {"mirrored", {-1, 0, 16, 0, 1, 0, 0, 0, 1}},
    {"turned", {0.8, -0.6, 8, 0.6, 0.8, -3, 0, 0, 1}},
    {"tilted", {0.9, 0.1, 1, -0.05, 1.1, 2, 1e-3, 2e-3, 1}},
    {"tilted much", {3, 0.1, -1, 0.2, 2, 1, 0.05, 0.08, 0.5}},
    {"seen from behind", {-0.9, 0.1, 1, -0.05, -1.1, 2, -1e-3, -2e-3, -1}},
    {"with an upright horizon", Seen({10, 0, -250, 1, 10, -150, 1, 0, -20.5})},
    {"with a level horizon", Seen({10, 1, -150, 0, 10, -130, 0, 1, -6.5})},
    {"with a slanted horizon", Seen({10, 1, -150, 1, 10, -130, 1, 1.5, -25})},
    {"with a horizon through pixels", Seen({10, 0, -200, 1, 10, -100, 1, 0, -20})},
    {"on both sides of a horizon", Seen({9, 0, -100, 0, 6, 0, 1, 0, -12.3})},
    {"on both sides of a horizon, from behind", Seen({-9, 0, 100, 0, -6, 0, -1, 0, 12.3})},
    {"on both sides of a slanted horizon", Seen({9, 1, -100, 1, 6, 0, 1, 0.2, -12.3})},
    {"to nothing", {0, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"to a point", {0, 0, 5, 0, 0, 5, 0, 0, 1}},
    {"to a line", {1, 2, 3, 2, 4, 5, 0, 0, 1}},
    {"almost to a line", {1, 2, 3, 2, 4 + 1e-13, 5, 1e-3, 1e-3, 1}},
    {"from a sum of which rounding is left", Seen({1e15, 1, 2, 1, 1e15, 2, 1e14, 1e14, 1})},
    {"far enlarged", {1e200, 0, 0, 0, 1e200, 0, 0, 0, 1}},
    {"far reduced", {1e-200, 0, 0, 0, 1e-200, 0, 0, 0, 1}},
    {"too far for an inverse", {1e200, 0, 0, 0, 1e200, 0, 0, 0, 1e200}},
    {"not a number", {kNaN, 0, 0, 0, 1, 0, 0, 0, 1}},
    {"not a number in one coordinate", {1, 0, kNaN, 0, 1, 0, 0, 0, 1}},
    {"infinite", {1, 0, kInfinity, 0, 1, 0, 0, 0, 1}},
    {"infinitely tilted", {1, 0, 0, 0, 1, 0, -kInfinity, 0, 1}},
};

class PerspectiveRowsOnEverySet : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(PerspectiveRowsOnEverySet);

TEST_P(PerspectiveRowsOnEverySet, ThePixelsAreThoseOfOpenCv) {
  const cv::Size sizes[] = {{1, 1},  {2, 1},    {1, 2},    {17, 13},  {40, 1},  {1, 40},  {64, 16},
                            {65, 9}, {131, 70}, {1300, 1}, {1025, 3}, {400, 7}, {150, 15}};
  for (const cv::Size size : sizes) {
    for (const int type : kelra_test::kPixelTypes) {
      // Bytes beside the image that are neither its own nor 0.
      GuardedImage image(RandomImage(size.height, size.width, type), 6, 10);
      for (const Warp& warp : kWarps) {
        ASSERT_TRUE(SameImage(WarpedByRows(image.Mat(), warp.transform),
                              WarpedByOpenCv(image.Mat(), warp.transform)))
            << warp.name << ", " << size << ", " << TypeName(type);
      }
    }
  }
}

TEST_P(PerspectiveRowsOnEverySet, ThePixelsAreThoseOfOpenCvForEveryWidth) {
  const cv::Matx33d transform(0.9, 0.1, 1, -0.05, 1.1, 0.4, 1e-3, 2e-3, 1);
  for (const int type : kelra_test::kPixelTypes) {
    for (int width = 1; width <= 140; ++width) {
      for (const int height : {2, 20}) {
        GuardedImage image(RandomImage(height, width, type), 6, 10);
        ASSERT_TRUE(
            SameImage(WarpedByRows(image.Mat(), transform), WarpedByOpenCv(image.Mat(), transform)))
            << width << " x " << height << ", " << TypeName(type);
      }
    }
  }
}

TEST_P(PerspectiveRowsOnEverySet, ThePixelsAreThoseOfOpenCvForAnyTransform) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> exponent(-4, 4);
  const auto any = [&] { return (random() % 2 == 0 ? 1 : -1) * std::exp2(exponent(random)); };
  int outside = 0;
  for (int i = 0; i < 3000; ++i) {
    const int type = kelra_test::kPixelTypes[random() % 4];
    const cv::Mat image = RandomImage(static_cast<int>(1 + random() % 90),
                                      static_cast<int>(1 + random() % 200), type);
    // Most have their horizon in the image.
    const double tilt = std::exp2(exponent(random) - 4);
    const cv::Matx33d transform =
        Seen({any(), any(), 5 * any(), any(), any(), 5 * any(), tilt * any(), tilt * any(), any()});
    const cv::Mat expected = WarpedByOpenCv(image, transform);
    outside += cv::countNonZero(expected.reshape(1)) == 0 ? 1 : 0;
    ASSERT_TRUE(SameImage(WarpedByRows(image, transform), expected))
        << transform << ", " << image.size() << ", " << TypeName(type);
  }
  EXPECT_LT(outside, 1000);
}

// In plain doubles.
int PlainPosition(const PerspectiveRow::Progression& coordinate,
                  const PerspectiveRow::Progression& w, int k) {
  const double divisor = w.first + w.step * k;
  const double scale = divisor == 0 ? 0 : 32 / divisor;
  const double in_32nds = (coordinate.first + coordinate.step * k) * scale;
  constexpr double kFarthest = PerspectiveRow::kFarthest / 32;
  const double clamped =
      std::isnan(in_32nds) ? kFarthest : std::clamp(in_32nds, -kFarthest, kFarthest);
  return static_cast<int>(std::nearbyint(clamped)) * 32;
}

TEST_P(PerspectiveRowsOnEverySet, ThePositionsAreThoseOfPlainDoubles) {
  const double numbers[] = {0,     -0.0,   1,     -1,     0.1,       1.0 / 64,  3.0 / 64,
                            -7.25, 1e-300, 1e300, -1e300, kInfinity, -kInfinity};
  for (const double first : numbers) {
    for (const double step : numbers) {
      for (const double w_first : numbers) {
        for (const double w_step : {0.0, 1.0, -0.25, 1e300}) {
          const PerspectiveRow row{{first, step}, {step, first}, {w_first, w_step}};
          constexpr int kCount = 29;
          int x[64];
          int y[64];
          GetParam()->perspective_positions(row, kCount, x, y);
          for (int k = 0; k < kCount; ++k) {
            ASSERT_EQ(x[k], PlainPosition(row.x, row.w, k)) << first << ' ' << step << ' ' << k;
            ASSERT_EQ(y[k], PlainPosition(row.y, row.w, k)) << first << ' ' << step << ' ' << k;
          }
        }
      }
    }
  }
}

bool SameNumber(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

testing::AssertionResult IsThatOfOpenCv(const FourPoints& from, const FourPoints& to) {
  const cv::Matx33d ours = PerspectiveTransform(from, to);
  const cv::Matx33d theirs = cv::getPerspectiveTransform(from.data(), to.data());
  if (std::equal(ours.val, ours.val + 9, theirs.val, SameNumber)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << ours << " for " << theirs;
}

TEST(PerspectiveTransform, IsToTheBitThatOfOpenCvForAnyPoints) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> place(-2000, 2000);
  std::uniform_real_distribution<float> exponent(-126, 126);
  const auto anywhere = [&] {
    FourPoints points;
    for (cv::Point2f& point : points) {
      point = {place(random), place(random)};
    }
    return points;
  };
  const auto in_whole_pixels = [&] {
    FourPoints points = anywhere();
    for (cv::Point2f& point : points) {
      point = {std::round(point.x / 500), std::round(point.y / 500)};
    }
    return points;
  };
  const auto of_any_magnitude = [&] {
    FourPoints points = anywhere();
    for (cv::Point2f& point : points) {
      point.x *= std::exp2(exponent(random));
      point.y *= std::exp2(exponent(random));
    }
    return points;
  };
  for (int i = 0; i < 3000; ++i) {
    ASSERT_TRUE(IsThatOfOpenCv(anywhere(), anywhere()));
    ASSERT_TRUE(IsThatOfOpenCv(in_whole_pixels(), anywhere()));
    ASSERT_TRUE(IsThatOfOpenCv(in_whole_pixels(), in_whole_pixels()));
    ASSERT_TRUE(IsThatOfOpenCv(of_any_magnitude(), of_any_magnitude()));
  }
}

TEST(PerspectiveTransform, IsToTheBitThatOfOpenCvForPointsThatDetermineNone) {
  constexpr float kHuge = std::numeric_limits<float>::max();
  constexpr auto kFloatInfinity = std::numeric_limits<float>::infinity();
  constexpr float kFloatNaN = std::numeric_limits<float>::quiet_NaN();
  const FourPoints points[] = {
      {{{0, 0}, {20, 1}, {21, 16}, {2.5F, 15}}},
      {{{0, 0}, {1, 1}, {2, 2}, {5, 0}}},      // three in a line
      {{{0, 0}, {1, 1}, {2, 2}, {3, 3}}},      // all in a line
      {{{0, 0}, {9, 1}, {9, 1}, {2.5F, 15}}},  // two alike
      {{{7, 7}, {7, 7}, {7, 7}, {7, 7}}},
      {{{0, 0}, {0, 0}, {0, 0}, {0, 0}}},
      {{{0, 0}, {0.1F, 0.1F}, {0.2F, 0.2F}, {0.7F, 0}}},
      {{{-kHuge, 0}, {kHuge, 1}, {21, kHuge}, {2.5F, 15}}},
      {{{0, 0}, {kFloatInfinity, 1}, {21, 16}, {2.5F, 15}}},
      {{{0, 0}, {20, 1}, {21, -kFloatInfinity}, {2.5F, 15}}},
      {{{kFloatNaN, 0}, {20, 1}, {21, 16}, {2.5F, 15}}},
      {{{0, 0}, {20, 1}, {21, 16}, {2.5F, kFloatNaN}}},
  };
  for (const FourPoints& from : points) {
    for (const FourPoints& to : points) {
      EXPECT_TRUE(IsThatOfOpenCv(from, to));
    }
  }
}

TEST(PerspectiveRows, TakeWhatTheyCanTell) {
  for (const int type : kelra_test::kPixelTypes) {
    EXPECT_TRUE(PerspectiveRows::Take(RandomImage(3, 4, type))) << TypeName(type);
  }
  for (const int type : {CV_8UC2, CV_8UC4, CV_16UC4, CV_32FC1, CV_16SC1, CV_8SC3}) {
    EXPECT_FALSE(PerspectiveRows::Take(cv::Mat::zeros(3, 4, type))) << TypeName(type);
  }
}

TEST(PerspectiveRows, LongerSidesAreRefusedAsByOpenCv) {
  const cv::Matx33d unchanged = cv::Matx33d::eye();
  for (const cv::Size size : {cv::Size(32766, 1), {1, 32766}}) {
    const cv::Mat image = RandomImage(size.height, size.width, CV_8UC1);
    ASSERT_TRUE(PerspectiveRows::Take(image));
    EXPECT_TRUE(SameImage(WarpedByRows(image, unchanged), image));
  }
  for (const cv::Size size : {cv::Size(32767, 1), {1, 32767}}) {
    KelImage image(cv::Mat::zeros(size, CV_8UC1));
    EXPECT_FALSE(PerspectiveRows::Take(image.Mat()));
    KelPointArray corners = {{0, 0}, {9, 0}, {9, 9}, {0, 9}};
    KelImage result;
    EXPECT_THROW(KelImageOperation().Perspective(image, &result, corners, corners), cv::Exception);
    EXPECT_THROW(WarpedByOpenCv(image.Mat(), unchanged), cv::Exception);
  }
}

}  // namespace
}  // namespace KELRA
