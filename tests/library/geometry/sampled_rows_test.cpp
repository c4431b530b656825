#include "geometry/sampled_rows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <random>

#include "every_instruction_set.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::GuardedImage;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::TypeName;

cv::Mat WarpedByOpenCv(const cv::Mat& image, const cv::Matx23d& transform, cv::Size canvas,
                       double around) {
  cv::Mat warped;
  cv::warpAffine(image, warped, transform, canvas, cv::INTER_LINEAR, cv::BORDER_CONSTANT,
                 cv::Scalar::all(around));
  return warped;
}

cv::Mat WarpedByRows(const cv::Mat& image, const cv::Matx23d& transform, const cv::Rect& part,
                     double around) {
  const SampledRows sampled(image, transform, part);
  GuardedImage warped(cv::Mat::zeros(part.size(), image.type()), 4, 8);
  for (int row = 0; row < part.height; ++row) {
    const kernels::GridRow source = sampled.SourceOf(row);
    sampled.Write(source, sampled.Reached(source), around, warped.Mat().ptr(row));
  }
  EXPECT_TRUE(warped.SurroundingsUntouched());
  return warped.Mat().clone();
}

struct Warp {
  const char* name;
  cv::Matx23d transform;
};

const Warp kWarps[] = {
    {"unchanged", {1, 0, 0, 0, 1, 0}},
    {"moved", {1, 0, 3, 0, 1, -2}},
    {"moved between pixels", {1, 0, 0.3, 0, 1, 7.77}},
    {"moved out of sight", {1, 0, 1000, 0, 1, 0}},
    {"moved out of sight to the left", {1, 0, -1000, 0, 1, 0}},
    {"moved below", {1, 0, 0, 0, 1, 1000}},
    {"seen by its last column only", {1, 0, -16, 0, 1, 0}},
    {"seen by a part of its edge", {1, 0, -16.99, 0, 1, -4.98}},
    {"enlarged", {3.3, 0, 1, 0, 2.1, 2}},
    {"enlarged much", {200, 0, -900, 0, 300, -400}},
    {"reduced", {0.3, 0, 10, 0, 0.4, 5}},
    {"reduced to a point", {1e-3, 0, 20, 0, 1e-3, 20}},
    {"mirrored", {-1, 0, 16, 0, 1, 0}},
    {"upside down", {1, 0, 0, 0, -1, 12}},
    {"sheared", {1, 0.5, -2, 0.25, 1, 1}},
    {"sheared almost flat", {1, 0.999, 0, 1, 1, 0}},
    {"turned", {0.8, -0.6, 8, 0.6, 0.8, -3}},
    {"turned by a little", {1, -1e-9, 0, 1e-9, 1, 0}},
    {"rows for columns", {0, 1, 0, 1, 0, 0}},
    {"rows for columns, mirrored", {0, -1, 12, 1, 0, 0.5}},
    {"to nothing", {0, 0, 0, 0, 0, 0}},
    {"to a line", {1, 2, 3, 2, 4, 5}},
};

const cv::Size kSizes[] = {{1, 1}, {2, 1}, {1, 2}, {17, 13}, {40, 1}, {1, 40}, {131, 70}};
const cv::Size kCanvases[] = {{1, 1}, {31, 17}, {150, 40}};

class SampledRowsOnEverySet : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(SampledRowsOnEverySet);

TEST_P(SampledRowsOnEverySet, ThePixelsAreThoseOfOpenCv) {
  for (const cv::Size size : kSizes) {
    for (const int type : kelra_test::kPixelTypes) {
      // Bytes beside the image that are neither its own nor what is around it.
      GuardedImage image(RandomImage(size.height, size.width, type), 6, 10);
      for (const Warp& warp : kWarps) {
        for (const cv::Size canvas : kCanvases) {
          ASSERT_TRUE(SampledRows::Take(image.Mat(), warp.transform, canvas)) << warp.name;
          ASSERT_TRUE(SameImage(WarpedByRows(image.Mat(), warp.transform, {{}, canvas}, 9),
                                WarpedByOpenCv(image.Mat(), warp.transform, canvas, 9)))
              << warp.name << ", " << size << " to " << canvas << ", " << TypeName(type);
        }
      }
    }
  }
}

TEST(SampledRows, ThePixelsAreThoseOfOpenCvForAnyTransform) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> exponent(-6, 6);
  const auto any = [&] { return (random() % 2 == 0 ? 1 : -1) * std::exp2(exponent(random)); };
  int outside = 0;
  for (int i = 0; i < 3000; ++i) {
    const int type = kelra_test::kPixelTypes[random() % 4];
    const cv::Mat image =
        RandomImage(static_cast<int>(1 + random() % 90), static_cast<int>(1 + random() % 90), type);
    const cv::Matx23d transform(any(), any(), any(), any(), any(), any());
    const cv::Mat expected = WarpedByOpenCv(image, transform, {70, 50}, 0);
    outside += cv::countNonZero(expected.reshape(1)) == 0 ? 1 : 0;
    ASSERT_TRUE(SampledRows::Take(image, transform, {70, 50}));
    ASSERT_TRUE(SameImage(WarpedByRows(image, transform, {0, 0, 70, 50}, 0), expected))
        << transform << ", " << image.size() << ", " << TypeName(type);
  }
  EXPECT_LT(outside, 1000);
}

TEST(SampledRows, APartIsThatOfTheWhole) {
  const cv::Matx23d transform(1.2, 0.5, -2, 0.25, 0.9, 1);
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat image = RandomImage(60, 90, type);
    const cv::Mat whole = WarpedByOpenCv(image, transform, {100, 80}, 3);
    for (const cv::Rect& part : {cv::Rect(0, 0, 1, 1), {13, 7, 60, 40}, {99, 79, 1, 1}}) {
      EXPECT_TRUE(SameImage(WarpedByRows(image, transform, part, 3), whole(part)))
          << TypeName(type) << part;
    }
  }
}

TEST(SampledRows, TakeWhatTheyCanTell) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const cv::Matx23d unchanged(1, 0, 0, 0, 1, 0);
  const cv::Size canvas(100, 100);
  for (const int type : kelra_test::kPixelTypes) {
    EXPECT_TRUE(SampledRows::Take(RandomImage(3, 4, type), unchanged, canvas)) << TypeName(type);
  }
  for (const int type : {CV_8UC2, CV_8UC4, CV_16UC4, CV_32FC1, CV_16SC1, CV_8SC3}) {
    EXPECT_FALSE(SampledRows::Take(cv::Mat::zeros(3, 4, type), unchanged, canvas));
  }
  const cv::Mat image = RandomImage(3, 4, CV_8UC1);
  for (const cv::Matx23d& transform :
       {cv::Matx23d(1e-5, 0, 0, 0, 1, 0), cv::Matx23d(1, 0, 1e9, 0, 1, 0),
        cv::Matx23d(1, 0, 0, 0, 1, -1e9), cv::Matx23d(kNaN, 0, 0, 0, 1, 0),
        cv::Matx23d(1, 0, kNaN, 0, 1, 0), cv::Matx23d(1, 0, 0, 0, 1, kInfinity),
        cv::Matx23d(1, 1, 0, 1, 1.0000001, 0)}) {
    EXPECT_FALSE(SampledRows::Take(image, transform, canvas)) << transform;
  }
}

TEST(SampledRows, LongerSidesAreRefusedAsByOpenCv) {
  const cv::Matx23d unchanged(1, 0, 0, 0, 1, 0);
  for (const cv::Size size : {cv::Size(32766, 1), {1, 32766}}) {
    const cv::Mat image = RandomImage(size.height, size.width, CV_8UC1);
    EXPECT_TRUE(SameImage(WarpedByRows(image, unchanged, {{}, size}, 0), image));
  }
  for (const cv::Size size : {cv::Size(32767, 1), {1, 32767}}) {
    const cv::Mat image = cv::Mat::zeros(size, CV_8UC1);
    EXPECT_THROW(SampledRows(image, unchanged, {{}, size}), cv::Exception);
    EXPECT_THROW(WarpedByOpenCv(image, unchanged, size, 0), cv::Exception);
  }
}

}  // namespace
}  // namespace KELRA
