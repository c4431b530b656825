#include <gtest/gtest.h>

#include "KELRA/KelImageOperation.h"
#include "fake_settings.h"
#include "placed_calls.h"
#include "placed_images.h"
#include "recorded_log.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::GuardedImage;
using kelra_test::LogRecord;
using kelra_test::PlacedGeometry;
using kelra_test::RandomImage;
using kelra_test::RecordedLog;
using kelra_test::SameImage;
using kelra_test::StartRecord;
using kelra_test::TurnedGeometry;
using kelra_test::TypeName;

struct Method {
  const char* name;
  int (*combine)(int, int);
  bool border_is_all_ones;
  KelLong (KelImageOperation::*call)(KelImage&, KelImage&, KelImage*, KelPoint&, double);
  int start;
};

constexpr Method kMethods[] = {
    {"BitAnd", [](int a, int b) { return a & b; }, true, &KelImageOperation::BitAnd, 6368},
    {"BitOr", [](int a, int b) { return a | b; }, false, &KelImageOperation::BitOr, 6493},
    {"BitXor", [](int a, int b) { return a ^ b; }, false, &KelImageOperation::BitXor, 6618},
};

KelLong CallPlaced(const Method& method, KelImage& image1, KelImage& image2, KelImage* result,
                   KelPoint position, double angle = 0) {
  KelImageOperation operation;
  return (operation.*method.call)(image1, image2, result, position, angle);
}

template <class Sample>
void CombineSamples(const Method& method, const cv::Mat& a, const cv::Mat& b, cv::Mat* output) {
  for (int row = 0; row < a.rows; ++row) {
    for (int i = 0; i < a.cols * a.channels(); ++i) {
      output->ptr<Sample>(row)[i] =
          static_cast<Sample>(method.combine(a.ptr<Sample>(row)[i], b.ptr<Sample>(row)[i]));
    }
  }
}

cv::Mat Combined(const Method& method, const cv::Mat& a, const cv::Mat& b) {
  cv::Mat output(a.size(), a.type());
  if (a.depth() == CV_8U) {
    CombineSamples<std::uint8_t>(method, a, b, &output);
  } else {
    CombineSamples<std::uint16_t>(method, a, b, &output);
  }
  return output;
}

cv::Mat Expected(const Method& method, const cv::Mat& first, const cv::Mat& second,
                 KelPoint position, double angle) {
  if (angle == 0) {
    return kelra_reference::PlacedUpright(
        first, second, static_cast<int>(position.x), static_cast<int>(position.y),
        [&](const cv::Mat& a, const cv::Mat& b) { return Combined(method, a, b); });
  }
  const int all_ones = first.depth() == CV_8U ? 255 : 65535;
  return kelra_reference::PlacedTurned(
      first, second, position.x, position.y, angle, method.border_is_all_ones ? all_ones : 0,
      [&](const cv::Mat& a, const cv::Mat& b, const cv::Mat&) { return Combined(method, a, b); });
}

void CheckAgainstDefinition(const TurnedGeometry& geometry) {
  for (const Method& method : kMethods) {
    for (const int type : kelra_test::kPixelTypes) {
      const cv::Mat first = RandomImage(geometry.first.height, geometry.first.width, type, 1);
      const cv::Mat second = RandomImage(geometry.second.height, geometry.second.width, type, 2);
      KelImage image1(first.clone());
      KelImage image2(second.clone());
      KelImage result;
      ASSERT_EQ(CallPlaced(method, image1, image2, &result, geometry.position, geometry.angle),
                STATUS_OK);
      ASSERT_TRUE(SameImage(result.Mat(),
                            Expected(method, first, second, geometry.position, geometry.angle)))
          << method.name << ", " << Describe(geometry) << ", " << TypeName(type);
      ASSERT_TRUE(SameImage(image1.Mat(), first));
      ASSERT_TRUE(SameImage(image2.Mat(), second));
    }
  }
}

TEST(PlacedBitwise, UprightMatchesTheDefinition) {
  for (const PlacedGeometry& g : kelra_test::UprightGeometries()) {
    CheckAgainstDefinition({g.first, g.second, g.position, 0});
  }
}

TEST(PlacedBitwise, TurnedMatchesTheDefinition) {
  for (const TurnedGeometry& geometry : kelra_test::TurnedGeometries()) {
    CheckAgainstDefinition(geometry);
  }
}

// Whole, at 16 bits too: AND with a border of 255 would clear the upper bytes.
TEST(PlacedBitwise, TheSurroundingsOfATurnedImageKeepTheFirst) {
  for (const Method& method : kMethods) {
    for (const int type : kelra_test::kPixelTypes) {
      const cv::Mat first = RandomImage(60, 60, type, 1);
      KelImage image1(first);
      KelImage image2(RandomImage(20, 20, type, 2));
      KelImage result;
      ASSERT_EQ(CallPlaced(method, image1, image2, &result, {20, 30}, 45), STATUS_OK);
      for (const cv::Point corner : {cv::Point(20, 16), {46, 16}, {20, 42}, {46, 42}}) {
        const cv::Rect pixel(corner, cv::Size(1, 1));
        EXPECT_TRUE(SameImage(result.Mat()(pixel), first(pixel))) << method.name << corner;
      }
      const cv::Rect inside(30, 26, 8, 8);
      EXPECT_FALSE(SameImage(result.Mat()(inside), first(inside))) << method.name;
    }
  }
}

TEST(PlacedBitwise, StatusesInOrder) {
  for (const Method& method : kMethods) {
    kelra_test::ExpectStatusesInOrder(
        [&](KelImage& image1, KelImage& image2, KelImage* result, KelPoint& position,
            double angle) { return CallPlaced(method, image1, image2, result, position, angle); });
  }
}

TEST(PlacedBitwise, PromotionComesBeforeTheCheckOfChannels) {
  const cv::Mat grey = RandomImage(5, 7, CV_8UC1);
  for (const bool grey_first : {true, false}) {
    KelImage one(grey.clone());
    KelImage four(cv::Mat::zeros(5, 7, CV_8UC4));
    KelImage result;
    EXPECT_EQ(
        CallPlaced(kMethods[0], grey_first ? one : four, grey_first ? four : one, &result, {0, 0}),
        ERR_CHANNEL_COUNT);
    EXPECT_TRUE(SameImage(one.Mat(), kelra_reference::InColor(grey)));
    EXPECT_EQ(four.Channels(), 4);
    EXPECT_TRUE(result.Mat().empty());
  }
}

TEST(PlacedBitwise, WithoutAOneChannelImageNothingIsPromoted) {
  KelImage three(cv::Mat::zeros(5, 7, CV_8UC3));
  KelImage four(cv::Mat::zeros(5, 7, CV_8UC4));
  KelImage result;
  EXPECT_EQ(CallPlaced(kMethods[0], three, four, &result, {0, 0}), ERR_CHANNEL_COUNT);
  EXPECT_EQ(three.Channels(), 3);
  EXPECT_EQ(four.Channels(), 4);
}

TEST(PlacedBitwise, AOneChannelImageBesideThreeChannelsIsChangedToThree) {
  const cv::Mat grey = RandomImage(6, 20, CV_16UC1, 1);
  const cv::Mat color = RandomImage(6, 20, CV_16UC3, 2);
  KelImage image1(grey.clone());
  KelImage image2(color.clone());
  KelImage result;
  ASSERT_EQ(CallPlaced(kMethods[2], image1, image2, &result, {2, 1}), STATUS_OK);
  EXPECT_TRUE(SameImage(image1.Mat(), kelra_reference::InColor(grey)));
  EXPECT_TRUE(SameImage(result.Mat(),
                        Expected(kMethods[2], kelra_reference::InColor(grey), color, {2, 1}, 0)));
}

TEST(PlacedBitwise, LogsTheStartOnly) {
  for (const Method& method : kMethods) {
    KelImage image(RandomImage(5, 7, CV_8UC1));
    KelImage result;
    RecordedLog log;
    const std::vector<LogRecord> records = {StartRecord(method.name, method.start)};
    EXPECT_EQ(CallPlaced(method, image, image, &result, {0, 0}), STATUS_OK);
    EXPECT_EQ(log.Take(), records);
    EXPECT_EQ(CallPlaced(method, image, image, &result, {1, 1}, 20), STATUS_OK);
    EXPECT_EQ(log.Take(), records);
    EXPECT_EQ(CallPlaced(method, image, image, &result, {0, 7}), ERR_PARAM_1);
    EXPECT_EQ(log.Take(), records);
  }
}

TEST(PlacedBitwise, TheOutputMayBeAnInput) {
  const cv::Mat first = RandomImage(16, 40, CV_8UC3, 1);
  for (const Method& method : kMethods) {
    for (const cv::Size size : {cv::Size(40, 16), {30, 9}}) {
      for (const KelPoint position : {KelPoint{0, 0}, {3, 2}}) {
        for (const double angle : {0.0, 30.0}) {
          const cv::Mat second = RandomImage(size.height, size.width, CV_8UC3, 2);
          const cv::Mat expected = Expected(method, first, second, position, angle);
          KelImage image1(first.clone());
          KelImage image2(second.clone());
          ASSERT_EQ(CallPlaced(method, image1, image2, &image1, position, angle), STATUS_OK);
          EXPECT_TRUE(SameImage(image1.Mat(), expected)) << method.name;
          image1 = KelImage(first.clone());
          ASSERT_EQ(CallPlaced(method, image1, image2, &image2, position, angle), STATUS_OK);
          EXPECT_TRUE(SameImage(image2.Mat(), expected)) << method.name;
        }
      }
    }
  }
}

TEST(PlacedBitwise, NothingOutsideTheImagesIsTouched) {
  for (const Method& method : kMethods) {
    for (const double angle : {0.0, 30.0}) {
      const cv::Mat first = RandomImage(13, 41, CV_8UC1, 1);
      const cv::Mat second = RandomImage(9, 37, CV_8UC1, 2);
      GuardedImage guarded2(second, 14, 30);
      GuardedImage target(first, 14, 30);
      KelImage image1(first);
      KelImage image2(guarded2.Mat());
      KelImage result(target.Mat());
      ASSERT_EQ(CallPlaced(method, image1, image2, &result, {3, 2}, angle), STATUS_OK);
      EXPECT_EQ(result.ImageData(), target.Mat().data);
      EXPECT_TRUE(SameImage(target.Mat(), Expected(method, first, second, {3, 2}, angle)));
      EXPECT_TRUE(target.SurroundingsUntouched());
      EXPECT_TRUE(guarded2.SurroundingsUntouched());
    }
  }
}

TEST(PlacedBitwise, TheSameBytesUnderEveryParallelSetting) {
  const cv::Mat first = RandomImage(520, 700, CV_8UC3, 1);
  const cv::Mat second = RandomImage(480, 710, CV_8UC3, 2);
  const cv::Mat expected = Expected(kMethods[2], first, second, {7, 5}, 0);
  for (const int parallel : kelra_test::ParallelSettingsFor(480)) {
    const kelra_test::ScopedSettings settings({.parallel = parallel});
    KelImage image1(first);
    KelImage image2(second);
    KelImage result;
    ASSERT_EQ(CallPlaced(kMethods[2], image1, image2, &result, {7, 5}), STATUS_OK);
    EXPECT_TRUE(SameImage(result.Mat(), expected)) << parallel;
  }
}

// OpenCV turns no image of more than 32766 columns.
TEST(PlacedBitwise, AnImageThatCannotBeTurnedIsAStatus) {
  const cv::Mat before = RandomImage(3, 4, CV_8UC1);
  KelImage image1(cv::Mat::zeros(5, 7, CV_8UC1));
  KelImage image2(cv::Mat::zeros(1, 40000, CV_8UC1));
  for (const Method& method : kMethods) {
    KelImage result(before);
    EXPECT_EQ(CallPlaced(method, image1, image2, &result, {0, 0}, 30), ERR_WARP_EXCEPTION);
    EXPECT_TRUE(SameImage(result.Mat(), before));
  }
}

// Gives OpenCV no memory.
class NoMemory : public cv::MatAllocator {
 public:
  cv::UMatData* allocate(int, const int*, int, void*, size_t*, cv::AccessFlag,
                         cv::UMatUsageFlags) const override {
    CV_Error(cv::Error::StsNoMem, "no memory");
  }
  bool allocate(cv::UMatData*, cv::AccessFlag, cv::UMatUsageFlags) const override { return false; }
  void deallocate(cv::UMatData*) const override {}
};

TEST(PlacedBitwise, WantOfMemoryIsAStatus) {
  NoMemory no_memory;
  KelImage image1(cv::Mat::zeros(5, 7, CV_8UC1));
  KelImage image2(cv::Mat::zeros(5, 7, CV_8UC1));
  for (const Method& method : kMethods) {
    for (const KelPoint position : {KelPoint{0, 0}, {2, 1}}) {
      KelImage result;
      cv::MatAllocator* const before = cv::Mat::getDefaultAllocator();
      cv::Mat::setDefaultAllocator(&no_memory);
      const KelLong upright = CallPlaced(method, image1, image2, &result, position);
      const KelLong turned = CallPlaced(method, image1, image2, &result, position, 30);
      cv::Mat::setDefaultAllocator(before);
      EXPECT_EQ(upright, ERR_BITWISE_EXCEPTION);
      EXPECT_EQ(turned, ERR_WARP_EXCEPTION);
    }
  }
}

}  // namespace
}  // namespace KELRA
