#include <gtest/gtest.h>

#include <cmath>

#include "KELRA/KelImageOperation.h"
#include "every_instruction_set.h"
#include "fake_settings.h"
#include "linear_cases.h"
#include "placed_calls.h"
#include "placed_images.h"
#include "recorded_log.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_reference::Operation;
using kelra_test::ExitRecord;
using kelra_test::GuardedImage;
using kelra_test::LinearCase;
using kelra_test::LogRecord;
using kelra_test::PlacedGeometry;
using kelra_test::RandomImage;
using kelra_test::RecordedLog;
using kelra_test::SameImage;
using kelra_test::ScopedSettings;
using kelra_test::StartRecord;
using kelra_test::TurnedGeometry;
using kelra_test::TypeName;

struct Method {
  const char* name;
  Operation operation;
  KelLong (KelImageOperation::*call)(KelImage&, KelImage&, KelImage*, KelPoint&, double, float,
                                     float);
  int start;
  int exit;
};

constexpr Method kMethods[] = {
    {"Add", kelra_reference::kAdd, &KelImageOperation::Add, 5398, 5416},
    {"Subtract", kelra_reference::kSubtract, &KelImageOperation::Subtract, 5717, 5736},
    {"Multiply", kelra_reference::kMultiply, &KelImageOperation::Multiply, 5886, 5905},
    {"Divide", kelra_reference::kDivide, &KelImageOperation::Divide, 6051, 6069},
};

KelLong CallPlaced(const Method& method, KelImage& image1, KelImage& image2, KelImage* result,
                   KelPoint position, double angle = 0, LinearCase linear = {1, 0}) {
  KelImageOperation operation;
  return (operation.*method.call)(image1, image2, result, position, angle, linear.scale,
                                  linear.offset);
}

cv::Mat Upright(const Method& method, const cv::Mat& first, const cv::Mat& second,
                KelPoint position, LinearCase linear) {
  return kelra_reference::PlacedUpright(first, second, static_cast<int>(position.x),
                                        static_cast<int>(position.y),
                                        [&](const cv::Mat& a, const cv::Mat& b) {
                                          return kelra_reference::ArithmeticWithImage(
                                              method.operation, a, b, linear.scale, linear.offset);
                                        });
}

cv::Mat Turned(const Method& method, const cv::Mat& first, const cv::Mat& second, KelPoint position,
               double angle, LinearCase linear) {
  const bool is_product = method.operation == kelra_reference::kMultiply ||
                          method.operation == kelra_reference::kDivide;
  return kelra_reference::PlacedTurned(
      first, second, position.x, position.y, angle, is_product ? 1 : 0,
      [&](const cv::Mat& a, const cv::Mat& b, const cv::Mat& mask) {
        const auto combine = a.depth() == CV_8U ? kelra_reference::TurnedArithmetic<std::uint8_t>
                                                : kelra_reference::TurnedArithmetic<std::uint16_t>;
        return combine(method.operation, a, b, mask, linear.scale, linear.offset);
      });
}

// Sums, products and the like of small samples, so that turned results are not all saturated.
cv::Mat SmallSamples(const cv::Mat& image) { return image / (image.depth() == CV_8U ? 13 : 250); }

class PlacedArithmeticOnEverySet : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(PlacedArithmeticOnEverySet);

TEST_P(PlacedArithmeticOnEverySet, UprightMatchesTheDefinition) {
  for (const Method& method : kMethods) {
    for (const PlacedGeometry& geometry : kelra_test::UprightGeometries()) {
      for (const int type : kelra_test::kPixelTypes) {
        for (const LinearCase linear : kelra_test::UsualLinearCases()) {
          const cv::Mat first = RandomImage(geometry.first.height, geometry.first.width, type, 1);
          const cv::Mat second =
              RandomImage(geometry.second.height, geometry.second.width, type, 2);
          KelImage image1(first.clone());
          KelImage image2(second.clone());
          KelImage result;
          ASSERT_EQ(CallPlaced(method, image1, image2, &result, geometry.position, 0, linear),
                    STATUS_OK);
          ASSERT_TRUE(
              SameImage(result.Mat(), Upright(method, first, second, geometry.position, linear)))
              << method.name << ", " << Describe(geometry) << ", " << TypeName(type) << ", scale "
              << linear.scale << ", offset " << linear.offset;
          ASSERT_TRUE(SameImage(image1.Mat(), first));
          ASSERT_TRUE(SameImage(image2.Mat(), second));
        }
      }
    }
  }
}

TEST_P(PlacedArithmeticOnEverySet, EveryWidthOfTheOverlap) {
  for (const Method& method : kMethods) {
    for (const int type : kelra_test::kPixelTypes) {
      const cv::Mat first = RandomImage(3, 75, type, 1);
      for (int width = 1; width <= 70; ++width) {
        const cv::Mat second = RandomImage(2, width, type, 2);
        KelImage image1(first);
        KelImage image2(second);
        KelImage result;
        ASSERT_EQ(CallPlaced(method, image1, image2, &result, {3, 1}, 0, {0.37F, 11.25F}),
                  STATUS_OK);
        ASSERT_TRUE(
            SameImage(result.Mat(), Upright(method, first, second, {3, 1}, {0.37F, 11.25F})))
            << method.name << ", " << TypeName(type) << ", width " << width;
      }
    }
  }
}

TEST(PlacedArithmetic, TurnedMatchesTheDefinition) {
  for (const Method& method : kMethods) {
    for (const TurnedGeometry& geometry : kelra_test::TurnedGeometries()) {
      for (const int type : kelra_test::kPixelTypes) {
        for (const LinearCase linear : kelra_test::UsualLinearCases()) {
          const cv::Mat first =
              SmallSamples(RandomImage(geometry.first.height, geometry.first.width, type, 1));
          const cv::Mat second =
              SmallSamples(RandomImage(geometry.second.height, geometry.second.width, type, 2));
          KelImage image1(first.clone());
          KelImage image2(second.clone());
          KelImage result;
          ASSERT_EQ(CallPlaced(method, image1, image2, &result, geometry.position, geometry.angle,
                               linear),
                    STATUS_OK);
          ASSERT_TRUE(SameImage(result.Mat(), Turned(method, first, second, geometry.position,
                                                     geometry.angle, linear)))
              << method.name << ", " << Describe(geometry) << ", " << TypeName(type) << ", scale "
              << linear.scale << ", offset " << linear.offset;
          ASSERT_TRUE(SameImage(image1.Mat(), first));
          ASSERT_TRUE(SameImage(image2.Mat(), second));
        }
      }
    }
  }
}

TEST(PlacedArithmetic, AFullTurnTakesTheTurnedPath) {
  KelImage image1(cv::Mat(4, 4, CV_8UC1, cv::Scalar(100)));
  KelImage image2(cv::Mat(4, 4, CV_8UC1, cv::Scalar(3)));
  KelImage upright;
  KelImage turned;
  // Four columns are a tail: upright a quotient is rounded half up, turned to even.
  image1.Mat().setTo(5);
  image2.Mat().setTo(2);
  EXPECT_EQ(CallPlaced(kMethods[3], image1, image2, &upright, {0, 0}, 0), STATUS_OK);
  EXPECT_EQ(CallPlaced(kMethods[3], image1, image2, &turned, {0, 0}, 360), STATUS_OK);
  EXPECT_EQ(upright.Mat().at<unsigned char>(1, 1), 3);
  EXPECT_EQ(turned.Mat().at<unsigned char>(1, 1), 2);
}

// Above 2^31, where a 32-bit product changes its sign, and in every column of a row.
TEST(PlacedArithmetic, LargeTurnedProductsSaturate) {
  for (int width = 1; width <= 70; ++width) {
    KelImage image1(cv::Mat(2, width, CV_16UC1, cv::Scalar(60000)));
    KelImage image2(cv::Mat(2, width, CV_16UC1, cv::Scalar(59999)));
    KelImage result;
    ASSERT_EQ(CallPlaced(kMethods[2], image1, image2, &result, {0, 0}, 360), STATUS_OK);
    const cv::Mat expected(2, width, CV_16UC1, cv::Scalar(65535));
    EXPECT_TRUE(SameImage(result.Mat(), expected));
  }
}

// Every value that an integer holds saturates; what is beyond, OpenCV makes 0, in every column.
TEST(PlacedArithmetic, ScaledTurnedProductsAreOpenCvs) {
  for (int width = 1; width <= 70; ++width) {
    KelImage image1(cv::Mat(2, width, CV_16UC1, cv::Scalar(30000)));
    KelImage image2(cv::Mat(2, width, CV_16UC1, cv::Scalar(30000)));
    KelImage saturated;
    KelImage beyond;
    ASSERT_EQ(CallPlaced(kMethods[2], image1, image2, &saturated, {0, 0}, 360, {2, 0}), STATUS_OK);
    ASSERT_EQ(CallPlaced(kMethods[2], image1, image2, &beyond, {0, 0}, 360, {3, 0}), STATUS_OK);
    EXPECT_TRUE(SameImage(saturated.Mat(), cv::Mat(2, width, CV_16UC1, cv::Scalar(65535))));
    EXPECT_TRUE(SameImage(beyond.Mat(), cv::Mat(2, width, CV_16UC1, cv::Scalar(0))));
  }
}

TEST(PlacedArithmetic, WithoutScaleAndOffsetTheSurroundingsOfATurnedImageKeepTheFirst) {
  const cv::Mat first = RandomImage(60, 60, CV_16UC3, 1);
  const cv::Mat second(20, 20, CV_16UC3, cv::Scalar::all(7));
  for (const Method& method : kMethods) {
    KelImage image1(first);
    KelImage image2(second);
    KelImage result;
    ASSERT_EQ(CallPlaced(method, image1, image2, &result, {20, 30}, 45), STATUS_OK);
    // The corners of the bounding box of the diamond that begins at (20, 30).
    for (const cv::Point corner : {cv::Point(20, 16), {46, 16}, {20, 42}, {46, 42}}) {
      EXPECT_EQ(result.Mat().at<cv::Vec3w>(corner), first.at<cv::Vec3w>(corner)) << method.name;
    }
    EXPECT_NE(result.Mat().at<cv::Vec3w>(30, 34), first.at<cv::Vec3w>(30, 34)) << method.name;
  }
}

// At 16 bits a turned product is scaled in the whole box, offset nowhere; a quotient is scaled and
// offset twice inside.
TEST(PlacedArithmetic, TurnedProductsAndQuotientsDifferAt16Bits) {
  const auto run = [](const Method& method, int type, cv::Point at) {
    KelImage image1(cv::Mat(60, 60, type, cv::Scalar::all(100)));
    KelImage image2(cv::Mat(20, 20, type, cv::Scalar::all(2)));
    KelImage result;
    EXPECT_EQ(CallPlaced(method, image1, image2, &result, {20, 30}, 45, {2, 10}), STATUS_OK);
    return type == CV_8UC1 ? int{result.Mat().at<std::uint8_t>(at)}
                           : int{result.Mat().at<std::uint16_t>(at)};
  };
  const cv::Point inside(34, 30);
  const cv::Point around(20, 16);
  const Method& multiply = kMethods[2];
  const Method& divide = kMethods[3];
  EXPECT_EQ(run(multiply, CV_8UC1, inside), 255);
  EXPECT_EQ(run(multiply, CV_8UC1, around), 100);
  EXPECT_EQ(run(multiply, CV_16UC1, inside), 400);
  EXPECT_EQ(run(multiply, CV_16UC1, around), 200);
  EXPECT_EQ(run(divide, CV_8UC1, inside), 110);
  EXPECT_EQ(run(divide, CV_8UC1, around), 100);
  EXPECT_EQ(run(divide, CV_16UC1, inside), 230);
  EXPECT_EQ(run(divide, CV_16UC1, around), 100);
}

// OpenCV takes a scale next to 1 for 1, and then lets the products at the end of a row wrap.
TEST(PlacedArithmetic, ATurnedProductSaturatesInEveryColumnForScalesNextTo1) {
  KelImage image1(cv::Mat(600, 37, CV_16UC1, cv::Scalar(60000)));
  KelImage image2(cv::Mat(600, 37, CV_16UC1, cv::Scalar(50000)));
  for (const float scale : {std::nextafter(1.0F, 0.0F), 1.0F, std::nextafter(1.0F, 2.0F)}) {
    KelImage result;
    ASSERT_EQ(CallPlaced(kMethods[2], image1, image2, &result, {0, 0}, 360, {scale, 0}), STATUS_OK);
    const cv::Mat inner = result.Mat()(cv::Rect(1, 1, 35, 598));
    EXPECT_TRUE(SameImage(inner.clone(), cv::Mat(inner.size(), CV_16UC1, cv::Scalar(65535))));
  }
}

TEST(PlacedArithmetic, StatusesInOrder) {
  for (const Method& method : kMethods) {
    kelra_test::ExpectStatusesInOrder(
        [&](KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
            double angle) { return CallPlaced(method, image1, image2, result, position, angle); });
  }
}

TEST(PlacedArithmetic, EveryUnsupportedDepthIsRefused) {
  for (const int depth : {CV_8S, CV_16S, CV_32S, CV_32F, CV_64F}) {
    KelImage image(cv::Mat::zeros(3, 3, depth));
    KelImage result;
    EXPECT_EQ(CallPlaced(kMethods[0], image, image, &result, {0, 0}), ERR_BIT_DEPTH);
  }
}

TEST(PlacedArithmetic, TheLastPixelAndAFullTurnAreInRange) {
  KelImage image1(cv::Mat::zeros(5, 7, CV_8UC1));
  KelImage image2(cv::Mat::zeros(5, 7, CV_8UC1));
  KelImage result;
  EXPECT_EQ(CallPlaced(kMethods[0], image1, image2, &result, {6, 4}), STATUS_OK);
  EXPECT_EQ(CallPlaced(kMethods[0], image1, image2, &result, {6.9999999, 4.9999999}), STATUS_OK);
  EXPECT_EQ(
      CallPlaced(kMethods[0], image1, image2, &result, {6.9999999999999, 4.9999999999999}, 360),
      STATUS_OK);
}

TEST(PlacedArithmetic, TheExitIsLoggedBeforeTheWork) {
  const cv::Mat pixels = RandomImage(5, 7, CV_8UC1);
  for (const Method& method : kMethods) {
    KelImage image(pixels);
    KelImage result;
    RecordedLog log;
    const std::vector<LogRecord> upright = {StartRecord(method.name, method.start),
                                            ExitRecord(method.name, method.exit),
                                            StartRecord("GreyAndOrOperation2", 4789)};
    EXPECT_EQ(CallPlaced(method, image, image, &result, {0, 0}), STATUS_OK);
    EXPECT_EQ(log.Take(), upright);
    EXPECT_EQ(CallPlaced(method, image, image, &result, {1, 1}), STATUS_OK);
    EXPECT_EQ(log.Take(), upright);
    EXPECT_EQ(CallPlaced(method, image, image, &result, {0, 7}), ERR_PARAM_1);
    EXPECT_EQ(log.Take(), upright);
    std::vector<LogRecord> turned = upright;
    turned.push_back(ExitRecord("GreyAndOrOperation2", 5386));
    EXPECT_EQ(CallPlaced(method, image, image, &result, {1, 1}, 20), STATUS_OK);
    EXPECT_EQ(log.Take(), turned);
  }
}

TEST(PlacedArithmetic, AOneChannelImageBesideThreeChannelsIsChangedToThree) {
  for (const int depth : {CV_8U, CV_16U}) {
    const cv::Mat grey = RandomImage(6, 20, CV_MAKETYPE(depth, 1), 1);
    const cv::Mat color = RandomImage(6, 20, CV_MAKETYPE(depth, 3), 2);
    const cv::Mat promoted = kelra_reference::InColor(grey);
    for (const bool grey_first : {true, false}) {
      for (const double angle : {0.0, 30.0}) {
        const cv::Mat memory = grey.clone();
        KelImage image1(grey_first ? memory : color);
        KelImage image2(grey_first ? color : memory);
        KelImage result;
        ASSERT_EQ(CallPlaced(kMethods[0], image1, image2, &result, {2, 1}, angle), STATUS_OK);
        const cv::Mat& a = grey_first ? promoted : color;
        const cv::Mat& b = grey_first ? color : promoted;
        EXPECT_TRUE(SameImage(image1.Mat(), a));
        EXPECT_TRUE(SameImage(image2.Mat(), b));
        EXPECT_TRUE(
            SameImage(result.Mat(), angle == 0 ? Upright(kMethods[0], a, b, {2, 1}, {1, 0})
                                               : Turned(kMethods[0], a, b, {2, 1}, angle, {1, 0})));
        // The caller's pixels themselves are not written.
        EXPECT_TRUE(SameImage(memory, grey));
      }
    }
  }
}

TEST(PlacedArithmetic, PromotionComesBeforeTheChecksOfPositionAndAngle) {
  KelImage image1(RandomImage(5, 7, CV_8UC1));
  KelImage image2(RandomImage(5, 7, CV_8UC3));
  KelImage result;
  EXPECT_EQ(CallPlaced(kMethods[0], image1, image2, &result, {7, 0}), ERR_PARAM_1);
  EXPECT_EQ(image1.Channels(), 3);
  EXPECT_TRUE(result.Mat().empty());
}

// The input that the output is, or shares memory with.
enum class Sharing {
  kFirstObject,
  kSecondObject,
  kFirstPixels,
  kSecondPixels,
  kFirstShifted,
  kSecondShifted
};

TEST(PlacedArithmetic, TheOutputMayBeAnInput) {
  for (const Method& method : kMethods) {
    for (const int type : kelra_test::kPixelTypes) {
      for (const Sharing sharing :
           {Sharing::kFirstObject, Sharing::kSecondObject, Sharing::kFirstPixels,
            Sharing::kSecondPixels, Sharing::kFirstShifted, Sharing::kSecondShifted}) {
        for (const cv::Size second_size : {cv::Size(40, 16), {30, 9}, {48, 20}}) {
          for (const KelPoint position : {KelPoint{0, 0}, {3, 2}}) {
            for (const double angle : {0.0, 30.0}) {
              for (const LinearCase linear : {LinearCase{1, 0}, {0.37F, 11.25F}}) {
                cv::Mat memory1 = RandomImage(20, 50, type, 1);
                cv::Mat memory2 = RandomImage(24, 60, type, 2);
                const cv::Rect at1(4, 1, 40, 16);
                const cv::Rect at2({4, 1}, second_size);
                const cv::Mat first = memory1(at1).clone();
                const cv::Mat second = memory2(at2).clone();
                KelImage image1(memory1(at1));
                KelImage image2(memory2(at2));
                KelImage other;
                KelImage* output = &other;
                switch (sharing) {
                  case Sharing::kFirstObject:
                    output = &image1;
                    break;
                  case Sharing::kSecondObject:
                    output = &image2;
                    break;
                  case Sharing::kFirstPixels:
                    other = image1;
                    break;
                  case Sharing::kSecondPixels:
                    other = image2;
                    break;
                  case Sharing::kFirstShifted:
                    other = KelImage(memory1(at1 + cv::Point(3, 1)));
                    break;
                  case Sharing::kSecondShifted:
                    other = KelImage(memory2(cv::Rect(1, 3, 40, 16)));
                    break;
                }
                ASSERT_EQ(CallPlaced(method, image1, image2, output, position, angle, linear),
                          STATUS_OK);
                ASSERT_TRUE(SameImage(output->Mat(),
                                      angle == 0
                                          ? Upright(method, first, second, position, linear)
                                          : Turned(method, first, second, position, angle, linear)))
                    << method.name << ", " << TypeName(type) << ", sharing "
                    << static_cast<int>(sharing) << ", second " << second_size << ", angle "
                    << angle << ", scale " << linear.scale;
              }
            }
          }
        }
      }
    }
  }
}

TEST(PlacedArithmetic, BothInputsMayBeOneObject) {
  const cv::Mat pixels = RandomImage(16, 40, CV_8UC3, 1);
  for (const double angle : {0.0, 77.0}) {
    for (const bool output_too : {false, true}) {
      KelImage image(pixels.clone());
      KelImage other;
      KelImage* output = output_too ? &image : &other;
      ASSERT_EQ(CallPlaced(kMethods[1], image, image, output, {3, 2}, angle, {0.5F, 20}),
                STATUS_OK);
      EXPECT_TRUE(SameImage(output->Mat(),
                            angle == 0
                                ? Upright(kMethods[1], pixels, pixels, {3, 2}, {0.5F, 20})
                                : Turned(kMethods[1], pixels, pixels, {3, 2}, angle, {0.5F, 20})));
    }
  }
}

TEST(PlacedArithmetic, NothingOutsideTheImagesIsTouched) {
  for (const Method& method : kMethods) {
    for (const int type : kelra_test::kPixelTypes) {
      for (const int gap : {0, 14}) {
        for (const double angle : {0.0, 30.0}) {
          const cv::Mat first = RandomImage(13, 41, type, 1);
          const cv::Mat second = RandomImage(9, 37, type, 2);
          GuardedImage guarded1(first, gap, gap * 2);
          GuardedImage guarded2(second, gap, gap * 2);
          GuardedImage target(first, gap, gap * 2);
          target.Mat().setTo(cv::Scalar::all(77));
          KelImage image1(guarded1.Mat());
          KelImage image2(guarded2.Mat());
          KelImage result(target.Mat());
          ASSERT_EQ(CallPlaced(method, image1, image2, &result, {3, 2}, angle, {0.5F, 20}),
                    STATUS_OK);
          EXPECT_EQ(result.ImageData(), target.Mat().data);
          EXPECT_TRUE(SameImage(
              target.Mat(), angle == 0 ? Upright(method, first, second, {3, 2}, {0.5F, 20})
                                       : Turned(method, first, second, {3, 2}, angle, {0.5F, 20})));
          EXPECT_TRUE(target.SurroundingsUntouched());
          EXPECT_TRUE(guarded1.SurroundingsUntouched());
          EXPECT_TRUE(guarded2.SurroundingsUntouched());
          EXPECT_TRUE(SameImage(guarded1.Mat(), first));
          EXPECT_TRUE(SameImage(guarded2.Mat(), second));
        }
      }
    }
  }
}

TEST(PlacedArithmetic, AnOutputOfAnotherTypeGetsANewMatrix) {
  const cv::Mat before = RandomImage(5, 7, CV_8UC1, 9);
  KelImage image1(RandomImage(5, 7, CV_16UC3, 1));
  KelImage image2(RandomImage(5, 7, CV_16UC3, 2));
  const cv::Mat pixels = before.clone();
  KelImage result(pixels);
  EXPECT_EQ(CallPlaced(kMethods[0], image1, image2, &result, {0, 0}), STATUS_OK);
  EXPECT_TRUE(
      SameImage(result.Mat(), Upright(kMethods[0], image1.Mat(), image2.Mat(), {0, 0}, {1, 0})));
  EXPECT_TRUE(SameImage(pixels, before));
}

TEST(PlacedArithmetic, TheSameBytesUnderEveryParallelSetting) {
  const cv::Mat first = RandomImage(520, 700, CV_8UC3, 1);
  const cv::Mat second = RandomImage(480, 710, CV_8UC3, 2);
  for (const double angle : {0.0, 20.0}) {
    const cv::Mat expected = angle == 0
                                 ? Upright(kMethods[2], first, second, {7, 5}, {0.01F, 3})
                                 : Turned(kMethods[2], first, second, {7, 5}, angle, {0.01F, 3});
    for (const int parallel : kelra_test::ParallelSettingsFor(480)) {
      const ScopedSettings settings({.parallel = parallel});
      KelImage image1(first);
      KelImage image2(second);
      KelImage result;
      ASSERT_EQ(CallPlaced(kMethods[2], image1, image2, &result, {7, 5}, angle, {0.01F, 3}),
                STATUS_OK);
      EXPECT_TRUE(SameImage(result.Mat(), expected)) << parallel;
    }
  }
}

// Turned images of many megabytes, which more than one thread works on.
TEST(PlacedArithmetic, LargeTurnedImages) {
  const ScopedSettings settings({.parallel = 7});
  for (const int type : {CV_8UC3, CV_16UC1}) {
    const cv::Mat first = SmallSamples(RandomImage(1500, 2100, type, 1));
    const cv::Mat second = SmallSamples(RandomImage(1400, 2000, type, 2));
    for (const Method& method : kMethods) {
      for (const LinearCase linear : {LinearCase{1, 0}, {0.37F, 11.25F}}) {
        const cv::Mat expected = Turned(method, first, second, {7, 650}, 20, linear);
        KelImage image1(first);
        KelImage image2(second);
        KelImage result;
        ASSERT_EQ(CallPlaced(method, image1, image2, &result, {7, 650}, 20, linear), STATUS_OK);
        EXPECT_TRUE(SameImage(result.Mat(), expected))
            << method.name << ", " << TypeName(type) << ", scale " << linear.scale;
        KelImage in_place(first.clone());
        ASSERT_EQ(CallPlaced(method, in_place, image2, &in_place, {7, 650}, 20, linear), STATUS_OK);
        EXPECT_TRUE(SameImage(in_place.Mat(), expected)) << method.name << ", " << TypeName(type);
      }
    }
  }
}

// OpenCV turns no image of more than 32766 columns.
TEST(PlacedArithmetic, ExceptionsOfOpenCvPass) {
  KelImage image1(cv::Mat::zeros(5, 7, CV_8UC1));
  KelImage image2(cv::Mat::zeros(1, 40000, CV_8UC1));
  KelImage result;
  EXPECT_THROW(CallPlaced(kMethods[0], image1, image2, &result, {0, 0}, 30), cv::Exception);
  EXPECT_EQ(CallPlaced(kMethods[0], image1, image2, &result, {0, 0}, 0), STATUS_OK);
}

class PlacedArithmeticInEfficiencyMode : public ::testing::Test {
 protected:
  KelLong Call(const Method& method, KelImage& image1, KelImage& image2, KelImage* result,
               KelPoint position, double angle = 0) {
    return (operation_.*method.call)(image1, image2, result, position, angle, 1, 0);
  }

  const ScopedSettings settings_{{.efficiency = 1}};
  const cv::Mat first_ = RandomImage(6, 20, CV_8UC1, 1);
  const cv::Mat second_ = RandomImage(6, 20, CV_8UC1, 2);
  KelImage image1_{first_.clone()};
  KelImage image2_{second_.clone()};
  KelImageOperation operation_;
};

TEST_F(PlacedArithmeticInEfficiencyMode, ResultsAtTheOriginShareOneMatrix) {
  for (const double angle : {0.0, 30.0}) {
    KelImage sum;
    KelImage difference;
    ASSERT_EQ(Call(kMethods[0], image1_, image2_, &sum, {0, 0}, angle), STATUS_OK);
    ASSERT_EQ(Call(kMethods[1], image1_, image2_, &difference, {-0.0, 0}, angle), STATUS_OK);
    EXPECT_EQ(sum.ImageData(), difference.ImageData());
    EXPECT_TRUE(SameImage(
        sum.Mat(), angle == 0 ? Upright(kMethods[1], first_, second_, {0, 0}, {1, 0})
                              : Turned(kMethods[1], first_, second_, {0, 0}, angle, {1, 0})));
  }
}

TEST_F(PlacedArithmeticInEfficiencyMode, ResultsElsewhereDoNot) {
  KelImage sum;
  KelImage other;
  ASSERT_EQ(Call(kMethods[0], image1_, image2_, &sum, {0, 0}), STATUS_OK);
  ASSERT_EQ(Call(kMethods[1], image1_, image2_, &other, {0.25, 0}), STATUS_OK);
  EXPECT_NE(sum.ImageData(), other.ImageData());
  EXPECT_TRUE(SameImage(sum.Mat(), Upright(kMethods[0], first_, second_, {0, 0}, {1, 0})));
}

TEST_F(PlacedArithmeticInEfficiencyMode, AFailureAtTheOriginLeavesAClearedOutput) {
  KelImage result(RandomImage(3, 3, CV_16UC1));
  EXPECT_EQ(Call(kMethods[0], image1_, image2_, &result, {0, 0}, 361), ERR_PARAM_2);
  EXPECT_TRUE(SameImage(result.Mat(), cv::Mat::zeros(6, 20, CV_8UC1)));
  KelImage untouched(RandomImage(3, 3, CV_16UC1));
  EXPECT_EQ(Call(kMethods[0], image1_, image2_, &untouched, {20, 0}), ERR_PARAM_1);
  EXPECT_TRUE(SameImage(untouched.Mat(), RandomImage(3, 3, CV_16UC1)));
}

TEST_F(PlacedArithmeticInEfficiencyMode, AMissingOutputIsReportedAfterTheChecks) {
  EXPECT_EQ(Call(kMethods[0], image1_, image2_, nullptr, {0, 0}, 361), ERR_PARAM_2);
  EXPECT_EQ(Call(kMethods[0], image1_, image2_, nullptr, {0, 0}), ERR_IMAGE_EMPTY);
}

// The matrix is fitted before the promotion; the result is a matrix of its own.
TEST_F(PlacedArithmeticInEfficiencyMode, AFirstImageThatIsPromotedGetsANewMatrix) {
  KelImage color(RandomImage(6, 20, CV_8UC3, 3));
  KelImage result;
  ASSERT_EQ(Call(kMethods[0], image1_, color, &result, {0, 0}), STATUS_OK);
  EXPECT_TRUE(SameImage(result.Mat(), Upright(kMethods[0], kelra_reference::InColor(first_),
                                              color.Mat(), {0, 0}, {1, 0})));
  EXPECT_EQ(image1_.Channels(), 3);
}

TEST_F(PlacedArithmeticInEfficiencyMode, TheOutputMayBeAnInput) {
  const cv::Mat expected = Upright(kMethods[1], first_, second_, {0, 0}, {1, 0});
  KelImage image1(first_.clone());
  ASSERT_EQ(Call(kMethods[1], image1, image2_, &image1, {0, 0}), STATUS_OK);
  EXPECT_TRUE(SameImage(image1.Mat(), expected));
  KelImage image2(second_.clone());
  ASSERT_EQ(Call(kMethods[1], image1_, image2, &image2, {0, 0}), STATUS_OK);
  EXPECT_TRUE(SameImage(image2.Mat(), expected));
  KelImage both(first_.clone());
  ASSERT_EQ(Call(kMethods[0], both, both, &both, {0, 0}), STATUS_OK);
  EXPECT_TRUE(SameImage(both.Mat(), Upright(kMethods[0], first_, first_, {0, 0}, {1, 0})));
}

TEST_F(PlacedArithmeticInEfficiencyMode, AnEarlierResultMayBeAnInput) {
  for (const bool as_first : {true, false}) {
    KelImage sum;
    ASSERT_EQ(Call(kMethods[0], image1_, image2_, &sum, {0, 0}), STATUS_OK);
    const cv::Mat sum_pixels = sum.Mat().clone();
    KelImage result;
    ASSERT_EQ(
        Call(kMethods[1], as_first ? sum : image1_, as_first ? image2_ : sum, &result, {0, 0}),
        STATUS_OK);
    EXPECT_TRUE(SameImage(sum.Mat(), sum_pixels));
    EXPECT_TRUE(SameImage(result.Mat(),
                          as_first ? Upright(kMethods[1], sum_pixels, second_, {0, 0}, {1, 0})
                                   : Upright(kMethods[1], first_, sum_pixels, {0, 0}, {1, 0})));
  }
}

TEST_F(PlacedArithmeticInEfficiencyMode, AnEmptyFirstImageIsRefused) {
  KelImage empty;
  KelImage result(RandomImage(3, 3, CV_8UC1));
  EXPECT_EQ(Call(kMethods[0], empty, image2_, &result, {0, 0}), ERR_IMAGE_EMPTY);
  const int sizes[] = {2, 2, 2};
  KelImage cube(cv::Mat(3, sizes, CV_8UC1));
  EXPECT_EQ(Call(kMethods[0], cube, image2_, &result, {0, 0}), ERR_IMAGE_EMPTY);
}

}  // namespace
}  // namespace KELRA
