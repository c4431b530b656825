#include "twoimage/turned_strips.h"

#include <gtest/gtest.h>

#include <mutex>
#include <opencv2/imgproc.hpp>

#include "every_instruction_set.h"
#include "fake_settings.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::GuardedImage;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::TypeName;

constexpr double kAngles[] = {1e-9,  0.01, 0.9, 2,    7.25,  15,  20,  30,    44.9,    45,  60,
                              77.7,  89.9, 90,  90.1, 101.5, 135, 179, 180,   181,     200, 225,
                              260.4, 269,  270, 271,  290,   315, 330, 359.9, 359.999, 360};

const cv::Size kSizes[] = {{1, 1},   {2, 1},   {1, 2},    {2, 2},  {3, 5},   {40, 1},
                           {1, 40},  {17, 2},  {2, 17},   {7, 64}, {64, 64}, {65, 63},
                           {130, 9}, {9, 130}, {131, 70}, {70, 90}};

double LargestOf(int type) { return CV_MAT_DEPTH(type) == CV_8U ? 255 : 65535; }

cv::Mat TurnedByOpenCv(const cv::Mat& image, const Turn& turn, double around) {
  cv::Mat turned;
  cv::warpAffine(image, turned, turn.transform, turn.size, cv::INTER_LINEAR, cv::BORDER_CONSTANT,
                 cv::Scalar::all(around));
  return turned;
}

// All strips put together.
struct Whole {
  cv::Mat pixels;
  cv::Mat mask;
};

Whole Collected(const cv::Mat& image, const Turn& turn, double around, const cv::Rect& part,
                bool with_mask) {
  const TurnedStrips strips(image, turn, around, part);
  Whole whole{cv::Mat::zeros(part.size(), image.type()), cv::Mat::zeros(part.size(), CV_8UC1)};
  cv::Mat times = cv::Mat::zeros(part.height, 1, CV_32S);
  std::mutex mutex;
  strips.ForEach(with_mask, [&](const RowRange& rows, cv::Mat& pixels, const cv::Mat& mask) {
    const std::scoped_lock lock(mutex);
    const cv::Range range(rows.begin(), rows.end());
    pixels.copyTo(whole.pixels.rowRange(range));
    EXPECT_EQ(mask.empty(), !with_mask);
    if (with_mask) {
      mask.copyTo(whole.mask.rowRange(range));
    }
    times.rowRange(range) += 1;
  });
  EXPECT_EQ(cv::countNonZero(times != 1), 0);
  return whole;
}

class TurnedStripsOnEverySet : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(TurnedStripsOnEverySet);

TEST_P(TurnedStripsOnEverySet, ThePixelsAreThoseOfOpenCv) {
  for (const cv::Size size : kSizes) {
    for (const int type : kelra_test::kPixelTypes) {
      // Bytes beside the image that are neither its own nor what is around it.
      GuardedImage image(RandomImage(size.height, size.width, type), 6, 10);
      for (const double angle : kAngles) {
        const Turn turn = TurnOf(size, angle);
        for (const double around : {0.0, 1.0, LargestOf(type)}) {
          const Whole whole = Collected(image.Mat(), turn, around, {{}, turn.size}, false);
          ASSERT_TRUE(SameImage(whole.pixels, TurnedByOpenCv(image.Mat(), turn, around)))
              << size << ", " << TypeName(type) << ", " << angle << " degrees, around " << around;
        }
      }
    }
  }
}

TEST(TurnedStrips, TheMaskIsSetWhereThatOfOpenCvIs) {
  for (const cv::Size size : kSizes) {
    const cv::Mat image = RandomImage(size.height, size.width, CV_8UC1);
    for (double angle = 0.05; angle <= 360; angle += 1.35) {
      const Turn turn = TurnOf(size, angle);
      const Whole whole = Collected(image, turn, 0, {{}, turn.size}, true);
      const cv::Mat expected = TurnedByOpenCv(cv::Mat(size, CV_8UC1, cv::Scalar(255)), turn, 0);
      ASSERT_TRUE(SameImage(whole.mask != 0, expected != 0)) << size << ", " << angle << " degrees";
    }
  }
}

TEST(TurnedStrips, APartIsThatOfTheWhole) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat image = RandomImage(60, 150, type);
    for (const double angle : {10.0, 100.0, 200.0, 300.0}) {
      const Turn turn = TurnOf(image.size(), angle);
      const Whole whole = Collected(image, turn, 1, {{}, turn.size}, true);
      const cv::Rect box({}, turn.size);
      for (const cv::Rect cut : {cv::Rect(0, 0, 1, 1), {13, 7, 60, 40}, {70, 3, 500, 500}}) {
        const cv::Rect part = cut & box;
        const Whole cut_out = Collected(image, turn, 1, part, true);
        EXPECT_TRUE(SameImage(cut_out.pixels, whole.pixels(part))) << TypeName(type) << part;
        EXPECT_TRUE(SameImage(cut_out.mask, whole.mask(part))) << TypeName(type) << part;
      }
    }
  }
}

TEST(TurnedStrips, TheSameBytesUnderEveryParallelSetting) {
  const cv::Mat image = RandomImage(700, 900, CV_16UC3);
  const Turn turn = TurnOf(image.size(), 33);
  const cv::Mat expected = TurnedByOpenCv(image, turn, 0);
  for (const int parallel : kelra_test::ParallelSettingsFor(turn.size.height)) {
    const kelra_test::ScopedSettings settings({.parallel = parallel});
    EXPECT_TRUE(SameImage(Collected(image, turn, 0, {{}, turn.size}, true).pixels, expected))
        << parallel;
  }
}

TEST(TurnedStrips, TheLongestSides) {
  for (const cv::Size size : {cv::Size(32766, 2), {2, 32766}}) {
    const cv::Mat image = RandomImage(size.height, size.width, CV_8UC1);
    for (const double angle : {0.1, 89.9, 180.1, 359.9}) {
      const Turn turn = TurnOf(size, angle);
      const Whole whole = Collected(image, turn, 7, {{}, turn.size}, true);
      EXPECT_TRUE(SameImage(whole.pixels, TurnedByOpenCv(image, turn, 7))) << size << angle;
      const cv::Mat mask = TurnedByOpenCv(cv::Mat(size, CV_8UC1, cv::Scalar(255)), turn, 0);
      EXPECT_TRUE(SameImage(whole.mask != 0, mask != 0)) << size << angle;
    }
  }
}

TEST(TurnedStrips, LongerSidesAreRefusedAsByOpenCv) {
  for (const cv::Size size : {cv::Size(32767, 1), {1, 32767}}) {
    const cv::Mat image = cv::Mat::zeros(size, CV_8UC1);
    const Turn turn = TurnOf(size, 0.1);
    EXPECT_THROW(TurnedStrips(image, turn, 0, {{}, turn.size}), cv::Exception);
    EXPECT_THROW(TurnedByOpenCv(image, turn, 0), cv::Exception);
  }
}

TEST(TurnedStrips, WhatIsWrittenMayBeTheImage) {
  cv::Mat image = RandomImage(60, 60, CV_8UC3);
  const Turn turn = TurnOf(image.size(), 77);
  const cv::Mat expected = TurnedByOpenCv(image, turn, 0);
  TurnedStrips strips(image, turn, 0, {0, 0, 60, 60});
  strips.KeepApartFrom(image);
  strips.ForEach(false, [&](const RowRange& rows, cv::Mat& pixels, const cv::Mat&) {
    pixels.copyTo(image.rowRange(rows.begin(), rows.end()));
  });
  EXPECT_TRUE(SameImage(image, expected({0, 0, 60, 60})));
}

}  // namespace
}  // namespace KELRA
