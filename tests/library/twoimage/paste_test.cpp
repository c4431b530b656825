#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <opencv2/core.hpp>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "every_instruction_set.h"
#include "fake_settings.h"
#include "recorded_log.h"
#include "test_images.h"
#include "turned_paste.h"

namespace {

using namespace KELRA;
using kelra_test::ExitRecord;
using kelra_test::GuardedImage;
using kelra_test::LogRecord;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::StartRecord;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

KelLong Paste(KelImage& canvas, KelImage& image, KelImage* result, KelPoint position,
              double angle) {
  return KelImageOperation().Paste(canvas, image, result, position, angle);
}

cv::Mat WithBorder(const cv::Mat& image, int left, int top) {
  cv::Mat result = cv::Mat::zeros(image.rows + top, image.cols + left, image.type());
  image.copyTo(result(cv::Rect(left, top, image.cols, image.rows)));
  return result;
}

// Without a turn: each pixel from the image where it lies, else from the canvas, else 0.
cv::Mat UprightPaste(const cv::Mat& canvas, const cv::Mat& image, int x, int y) {
  const int left = std::max(-x, 0);
  const int top = std::max(-y, 0);
  const cv::Rect place(x + left, y + top, image.cols, image.rows);
  const cv::Mat grown = WithBorder(canvas, left, top);
  cv::Mat result = cv::Mat::zeros(std::max(grown.rows, place.br().y),
                                  std::max(grown.cols, place.br().x), canvas.type());
  grown.copyTo(result(cv::Rect(0, 0, grown.cols, grown.rows)));
  image.copyTo(result(place));
  return result;
}

TEST(Paste, PutsTheImageOntoTheCanvasWhichGrowsByZeros) {
  const KelPoint positions[] = {{0, 0},      {3, 4},        {-10, -5},      {95, 95},  {100, 100},
                                {-10, 40},   {40, -5},      {-30, -30},     {-0.9, 7}, {7, -0.5},
                                {12.9, 3.1}, {-10.9, 3.99}, {100.9, 100.9}, {-1, 100}, {-200, 0}};
  for (const int type : {CV_8UC1, CV_8UC2, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC3}) {
    for (const cv::Size size : {cv::Size(20, 20), cv::Size(1, 1), cv::Size(150, 130)}) {
      for (const KelPoint& position : positions) {
        SCOPED_TRACE(testing::Message() << kelra_test::TypeName(type) << ' ' << size << " at "
                                        << position.x << ", " << position.y);
        GuardedImage canvas_memory(RandomImage(100, 100, type), 6, 64);
        GuardedImage image_memory(RandomImage(size.height, size.width, type, 2), 4, 64);
        KelImage canvas(canvas_memory.Mat());
        KelImage image(image_memory.Mat());
        const cv::Mat expected =
            UprightPaste(canvas.Mat().clone(), image.Mat(), static_cast<int>(position.x),
                         static_cast<int>(position.y));
        KelImage result;
        ASSERT_EQ(Paste(canvas, image, &result, position, 0), STATUS_OK);
        EXPECT_TRUE(SameImage(result.Mat(), expected));
        EXPECT_TRUE(SameImage(canvas.Mat(), RandomImage(100, 100, type)));
        EXPECT_TRUE(canvas_memory.SurroundingsUntouched());
        EXPECT_TRUE(image_memory.SurroundingsUntouched());
      }
    }
  }
}

TEST(Paste, GrowsTheCanvasByWhatTheImageNeeds) {
  KelImage canvas(RandomImage(100, 100, CV_8UC1));
  KelImage image(RandomImage(20, 20, CV_8UC1, 2));
  KelImage result;
  ASSERT_EQ(Paste(canvas, image, &result, {-10, -5}, 0), STATUS_OK);
  EXPECT_EQ(result.Mat().size(), cv::Size(110, 105));
  EXPECT_TRUE(SameImage(result.Mat()(cv::Rect(0, 0, 20, 20)), image.Mat()));
  ASSERT_EQ(Paste(canvas, image, &result, {95, 95}, 0), STATUS_OK);
  EXPECT_EQ(result.Mat().size(), cv::Size(115, 115));
  EXPECT_EQ(result.Mat().at<std::uint8_t>(94, 114), 0);
}

const double kAngles[] = {1e-6, 0.5, 17,  30,  45,    60,  89.999, 90,  90.001, 123.4,
                          135,  180, 200, 225, 269.5, 270, 300,    315, 359.5,  360};

class TurnedPaste : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(TurnedPaste);

TEST_P(TurnedPaste, FollowsTheFormula) {
  struct Case {
    cv::Size canvas;
    cv::Size image;
    KelPoint position;
  };
  for (const Case& c : std::vector<Case>{{{60, 50}, {20, 14}, {25, 22}},
                                         {{60, 50}, {21, 33}, {0, 0}},
                                         {{60, 50}, {40, 35}, {60, 50}},
                                         {{60, 50}, {80, 75}, {30.7, 20.9}},
                                         {{1, 1}, {30, 1}, {0, 0}},
                                         {{9, 9}, {1, 30}, {4, 4}},
                                         {{9, 9}, {1, 1}, {4, 4}},
                                         {{9, 9}, {2, 2}, {9, 0}}}) {
    for (const int type : kelra_test::kPixelTypes) {
      for (const double angle : kAngles) {
        SCOPED_TRACE(testing::Message() << kelra_test::TypeName(type) << ' ' << c.image << " at "
                                        << c.position.x << ", " << c.position.y << " by " << angle);
        const cv::Mat pixels = RandomImage(c.image.height, c.image.width, type, 2);
        GuardedImage canvas_memory(RandomImage(c.canvas.height, c.canvas.width, type), 6, 64);
        GuardedImage image_memory(pixels, 4, 64);
        KelImage canvas(canvas_memory.Mat());
        KelImage image(image_memory.Mat());
        KelImage result;
        ASSERT_EQ(Paste(canvas, image, &result, c.position, angle), STATUS_OK);
        EXPECT_TRUE(SameImage(
            result.Mat(),
            kelra_reference::TurnedPaste(canvas.Mat(), pixels, static_cast<int>(c.position.x),
                                         static_cast<int>(c.position.y), angle)));
        EXPECT_TRUE(canvas_memory.SurroundingsUntouched());
        EXPECT_TRUE(image_memory.SurroundingsUntouched());
      }
    }
  }
}

TEST_P(TurnedPaste, TakesImagesOfEveryWidth) {
  for (const int type : kelra_test::kPixelTypes) {
    for (int width = 1; width <= 70; ++width) {
      for (const double angle : {0.7, 5.1 * width}) {
        GuardedImage memory(RandomImage(1 + width % 9, width, type, 2), 0, 0);
        KelImage canvas(RandomImage(40, 40, type));
        KelImage image(memory.Mat());
        KelImage result;
        ASSERT_EQ(Paste(canvas, image, &result, {20, 20}, angle), STATUS_OK);
        EXPECT_TRUE(SameImage(
            result.Mat(), kelra_reference::TurnedPaste(canvas.Mat(), image.Mat(), 20, 20, angle)))
            << kelra_test::TypeName(type) << ' ' << width;
      }
    }
  }
}

TEST(Paste, GrowsForATurnedImageAtANegativePositionFirst) {
  const cv::Mat canvas_pixels = RandomImage(60, 70, CV_8UC3);
  struct Case {
    KelPoint position;
    int left, top;
  };
  for (const Case& c :
       std::vector<Case>{{{-10, -5}, 10, 5}, {{-7.9, 12}, 7, 0}, {{30, -1}, 0, 1}}) {
    KelImage canvas(canvas_pixels);
    KelImage image(RandomImage(20, 30, CV_8UC3, 2));
    KelImage result;
    ASSERT_EQ(Paste(canvas, image, &result, c.position, 33), STATUS_OK);
    const int x = std::max(static_cast<int>(c.position.x), 0);
    const int y = std::max(static_cast<int>(c.position.y), 0);
    EXPECT_TRUE(SameImage(result.Mat(),
                          kelra_reference::TurnedPaste(WithBorder(canvas_pixels, c.left, c.top),
                                                       image.Mat(), x, y, 33)));
  }
}

// The middle of the pixels of a colour.
cv::Point2d MiddleOf(const cv::Mat& image, int value) {
  std::vector<cv::Point> found;
  cv::findNonZero(image == value, found);
  EXPECT_GT(found.size(), 10U) << value;
  cv::Point2d sum;
  for (const cv::Point& point : found) sum += cv::Point2d(point);
  return sum / std::max(1.0, static_cast<double>(found.size()));
}

// Against geometry alone: squares in the image's corners are found where the corners go when the
// image turns counterclockwise about its first one.
TEST(Paste, TurnsCounterclockwiseAboutTheFirstCorner) {
  const cv::Size size(60, 40);
  cv::Mat pixels(size, CV_8UC1, cv::Scalar(10));
  constexpr int kSquare = 8;
  const cv::Point corners[] = {{0, 0},
                               {size.width - kSquare, 0},
                               {0, size.height - kSquare},
                               {size.width - kSquare, size.height - kSquare}};
  for (int i = 0; i < 4; ++i) {
    pixels(cv::Rect(corners[i], cv::Size(kSquare, kSquare))).setTo(100 + 40 * i);
  }
  KelImage image(pixels);
  KelImage canvas(cv::Mat(300, 300, CV_8UC1, cv::Scalar(0)));
  for (int degrees = 1; degrees <= 360; degrees += 7) {
    SCOPED_TRACE(degrees);
    KelImage result;
    ASSERT_EQ(Paste(canvas, image, &result, {150, 140}, degrees), STATUS_OK);
    ASSERT_EQ(result.Mat().size(), canvas.Mat().size());
    const double radians = degrees * CV_PI / 180;
    for (int i = 0; i < 4; ++i) {
      const cv::Point2d middle =
          cv::Point2d(corners[i]) + cv::Point2d((kSquare - 1) / 2.0, (kSquare - 1) / 2.0);
      const cv::Point2d expected(150 + middle.x * std::cos(radians) + middle.y * std::sin(radians),
                                 140 - middle.x * std::sin(radians) + middle.y * std::cos(radians));
      const cv::Point2d found = MiddleOf(result.Mat(), 100 + 40 * i);
      EXPECT_NEAR(found.x, expected.x, 2.5) << i;
      EXPECT_NEAR(found.y, expected.y, 2.5) << i;
    }
  }
}

TEST(Paste, OfAFlatImageStaysFlatWhenTurned) {
  for (const int type : kelra_test::kPixelTypes) {
    const double largest = CV_MAT_DEPTH(type) == CV_8U ? 255 : 65535;
    KelImage canvas(cv::Mat(50, 50, type, cv::Scalar::all(0)));
    KelImage image(cv::Mat(30, 30, type, cv::Scalar::all(largest)));
    for (const double angle : kAngles) {
      KelImage result;
      ASSERT_EQ(Paste(canvas, image, &result, {20, 20}, angle), STATUS_OK);
      const cv::Mat flat = result.Mat().reshape(1);
      EXPECT_EQ(cv::countNonZero(flat), cv::countNonZero(flat == largest)) << angle;
      EXPECT_GT(cv::countNonZero(flat), 800) << angle;
    }
  }
}

TEST(Paste, OntoItsOwnCanvasChangesOnlyThePastedPixels) {
  for (const double angle : {0.0, 33.0}) {
    for (const int type : kelra_test::kPixelTypes) {
      const cv::Mat pixels = RandomImage(60, 70, type);
      KelImage image(RandomImage(20, 14, type, 2));
      const cv::Mat expected =
          angle == 0 ? UprightPaste(pixels, image.Mat(), 30, 30)
                     : kelra_reference::TurnedPaste(pixels, image.Mat(), 30, 30, angle);
      GuardedImage memory(pixels, 6, 64);
      KelImage canvas(memory.Mat());
      ASSERT_EQ(Paste(canvas, image, &canvas, {30, 30}, angle), STATUS_OK);
      EXPECT_TRUE(SameImage(canvas.Mat(), expected));
      EXPECT_EQ(canvas.ImageData(), memory.Mat().data);
      EXPECT_TRUE(memory.SurroundingsUntouched());
    }
  }
}

TEST(Paste, GivesTheSameResultWhenTheOutputIsOrOverlapsAnInput) {
  const cv::Mat canvas_pixels = RandomImage(60, 70, CV_8UC3);
  const cv::Mat image_pixels = RandomImage(60, 70, CV_8UC3, 2);
  for (const double angle : {0.0, 33.0}) {
    for (const KelPoint position : {KelPoint{0, 0}, KelPoint{30, 20}, KelPoint{-30, 20}}) {
      KelImage canvas(canvas_pixels.clone());
      KelImage image(image_pixels.clone());
      KelImage separate;
      ASSERT_EQ(Paste(canvas, image, &separate, position, angle), STATUS_OK);

      KelImage result(canvas.Mat());
      ASSERT_EQ(Paste(result, image, &result, position, angle), STATUS_OK);
      EXPECT_TRUE(SameImage(result.Mat(), separate.Mat()));

      canvas = KelImage(canvas_pixels.clone());
      result = image;
      ASSERT_EQ(Paste(canvas, result, &result, position, angle), STATUS_OK);
      EXPECT_TRUE(SameImage(result.Mat(), separate.Mat()));

      // All three are one image.
      result = KelImage(canvas_pixels.clone());
      KelImage twin(canvas_pixels.clone());
      ASSERT_EQ(Paste(twin, twin, &separate, position, angle), STATUS_OK);
      ASSERT_EQ(Paste(result, result, &result, position, angle), STATUS_OK);
      EXPECT_TRUE(SameImage(result.Mat(), separate.Mat()));

      // The image is a part of the canvas that is written.
      cv::Mat memory = canvas_pixels.clone();
      KelImage whole(memory);
      KelImage part(memory(cv::Rect(5, 5, 40, 40)));
      KelImage part_copy(part.DeepCopy());
      KelImage whole_copy(whole.DeepCopy());
      ASSERT_EQ(Paste(whole_copy, part_copy, &separate, position, angle), STATUS_OK);
      ASSERT_EQ(Paste(whole, part, &whole, position, angle), STATUS_OK);
      EXPECT_TRUE(SameImage(whole.Mat(), separate.Mat()));
    }
  }
}

TEST(Paste, WritesIntoAnOutputOfTheResultsSizeAndType) {
  KelImage canvas(RandomImage(60, 70, CV_8UC1));
  KelImage image(RandomImage(20, 14, CV_8UC1, 2));
  for (const double angle : {0.0, 33.0}) {
    GuardedImage output(RandomImage(60, 70, CV_8UC1, 3), 3, 16);
    KelImage result(output.Mat());
    ASSERT_EQ(Paste(canvas, image, &result, {30, 30}, angle), STATUS_OK);
    EXPECT_EQ(result.ImageData(), output.Mat().data);
    EXPECT_TRUE(output.SurroundingsUntouched());
  }
}

TEST(Paste, GivesTheSameBytesUnderEveryParallelSetting) {
  KelImage canvas(RandomImage(600, 800, CV_8UC3));
  KelImage image(RandomImage(500, 440, CV_8UC3, 2));
  const cv::Mat expected = kelra_reference::TurnedPaste(canvas.Mat(), image.Mat(), 100, 200, 40);
  for (const int parallel : kelra_test::ParallelSettingsFor(600)) {
    const kelra_test::ScopedSettings settings({.parallel = parallel});
    KelImage result;
    ASSERT_EQ(Paste(canvas, image, &result, {100, 200}, 40), STATUS_OK);
    EXPECT_TRUE(SameImage(result.Mat(), expected)) << parallel;
  }
}

TEST(Paste, TellsTheFirstFaultAndLeavesTheOutput) {
  const cv::Mat grey = RandomImage(20, 30, CV_8UC1);
  const cv::Mat color = RandomImage(20, 30, CV_8UC3);
  const cv::Mat deep = RandomImage(20, 30, CV_16UC1);
  const cv::Mat floats(20, 30, CV_32FC1, cv::Scalar(0));
  const cv::Mat four = RandomImage(20, 30, CV_8UC4);
  struct Case {
    cv::Mat canvas, image;
    KelPoint position;
    double angle;
    KelLong status;
    bool reaches_work = false;
  };
  const KelPoint bad{-1e300, 0};
  for (const Case& c : std::vector<Case>{{{}, {}, bad, -1, ERR_IMAGE_EMPTY},
                                         {cv::Mat(0, 5, CV_32F), floats, bad, -1, ERR_IMAGE_EMPTY},
                                         {floats, {}, bad, -1, ERR_IMAGE_EMPTY},
                                         {floats, deep, bad, -1, ERR_BIT_DEPTH},
                                         {grey, floats, bad, -1, ERR_DEPTH_MISMATCH},
                                         {color, deep, bad, -1, ERR_DEPTH_MISMATCH},
                                         {color, grey, bad, -1, ERR_CHANNEL_MISMATCH},
                                         {grey, color, bad, -1, ERR_CHANNEL_MISMATCH},
                                         {grey, grey, bad, -1, ERR_PARAM_1, true},
                                         {grey, grey, {kNaN, 0}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {0, kNaN}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {-5, kNaN}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {kNaN, -5}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {-kInfinity, -5}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {kInfinity, -5}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {-2147483649.0, 0}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {0, -2147483649.0}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {2147483648.0, -1}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {31, 0}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {30, 21}, -1, ERR_PARAM_1, true},
                                         {grey, grey, {30, 20}, -0.5, ERR_PARAM_2, true},
                                         {grey, grey, {30, 20}, 360.5, ERR_PARAM_2, true},
                                         {grey, grey, {30, 20}, kNaN, ERR_PARAM_2, true},
                                         {four, four, {0, 0}, 361, ERR_PARAM_2, true},
                                         {four, four, {0, 0}, 1, ERR_CHANNEL_COUNT, true}}) {
    KelImage canvas(c.canvas);
    KelImage image(c.image);
    const cv::Mat before = RandomImage(20, 30, CV_8UC1, 3);
    KelImage result(before.clone());
    const void* data = result.ImageData();
    kelra_test::RecordedLog log;
    EXPECT_EQ(Paste(canvas, image, &result, c.position, c.angle), c.status)
        << c.position.x << ", " << c.position.y << ", " << c.angle;
    std::vector<LogRecord> records = {StartRecord("Paste", 9729)};
    if (c.reaches_work) records.push_back(StartRecord("PasteOper", 9370));
    EXPECT_EQ(log.Take(), records);
    EXPECT_EQ(Paste(canvas, image, nullptr, c.position, c.angle), c.status);
    EXPECT_EQ(result.ImageData(), data);
    EXPECT_TRUE(SameImage(result.Mat(), before));
  }
  KelImage image(grey);
  EXPECT_EQ(Paste(image, image, nullptr, {0, 0}, 0), ERR_IMAGE_EMPTY);
  EXPECT_EQ(Paste(image, image, nullptr, {0, 0}, 10), ERR_IMAGE_EMPTY);
}

TEST(Paste, OnACanvasThatCannotGrowToTheLeftFindsItEmpty) {
  KelImage canvas(RandomImage(20, 30, CV_8UC1));
  KelImage image(RandomImage(2, 3, CV_8UC1));
  const cv::Mat before = RandomImage(4, 4, CV_8UC1);
  for (const double x : {-2147483648.0, -2147483648.5, -2147483647.0, -2147483630.0}) {
    KelImage result(before.clone());
    EXPECT_EQ(Paste(canvas, image, &result, {x, -3}, 0), ERR_IMAGE_EMPTY) << x;
    EXPECT_TRUE(SameImage(result.Mat(), before));
  }
}

// A header that claims more pixels than there are: only its size may be looked at.
TEST(Paste, RefusesAResultThatNoMatrixHolds) {
  std::uint8_t sample = 7;
  KelImage tall(cv::Mat(std::numeric_limits<int>::max(), 1, CV_8UC1, &sample, 1));
  KelImage canvas(RandomImage(4, 4, CV_8UC1));
  KelImage result;
  EXPECT_EQ(Paste(canvas, tall, &result, {1, 2}, 0), ERR_PARAM_1);
  EXPECT_EQ(Paste(canvas, tall, &result, {1, 2}, 180), ERR_PARAM_1);
  EXPECT_TRUE(result.Mat().empty());
}

TEST(Paste, LogsItselfTheBordersAndTheWorkWhichEndsOnlyWhenTurned) {
  KelImage canvas(RandomImage(20, 30, CV_8UC1));
  KelImage image(RandomImage(2, 3, CV_8UC1));
  KelImage result;
  kelra_test::RecordedLog log;
  const LogRecord paste = StartRecord("Paste", 9729);
  const LogRecord work = StartRecord("PasteOper", 9370);
  ASSERT_EQ(Paste(canvas, image, &result, {1, 1}, 0), STATUS_OK);
  EXPECT_EQ(log.Take(), (std::vector<LogRecord>{paste, work}));
  ASSERT_EQ(Paste(canvas, image, &result, {1, 1}, 5), STATUS_OK);
  EXPECT_EQ(log.Take(), (std::vector<LogRecord>{paste, work, ExitRecord("PasteOper", 9719)}));
  ASSERT_EQ(Paste(canvas, image, &result, {-1, 1}, 5), STATUS_OK);
  EXPECT_EQ(log.Take(), (std::vector<LogRecord>{paste, StartRecord("AddBorder", 10178),
                                                ExitRecord("AddBorder", 10244), work,
                                                ExitRecord("PasteOper", 9719)}));
  // The fraction before 0 does not count.
  ASSERT_EQ(Paste(canvas, image, &result, {-0.9, -0.9}, 0), STATUS_OK);
  EXPECT_EQ(log.Take(), (std::vector<LogRecord>{paste, work}));
}

}  // namespace
