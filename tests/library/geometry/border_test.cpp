#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "fake_settings.h"
#include "recorded_log.h"
#include "test_images.h"

#if defined(__has_feature)
#define KELRA_HAS_FEATURE(name) __has_feature(name)
#else
#define KELRA_HAS_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || KELRA_HAS_FEATURE(address_sanitizer)
// An allocation that fails is to fail as it does without the sanitizer.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
#endif

namespace {

using namespace KELRA;
using kelra_test::GuardedImage;
using kelra_test::RandomImage;
using kelra_test::SameImage;

constexpr int kIntMax = std::numeric_limits<int>::max();

struct Widths {
  int left, top, right, bottom;
};

KelLong AddBorder(KelImage& src, KelImage* dst, const Widths& widths, const KelColorRGBA& color) {
  return KelImageOperation().AddBorder(src, dst, widths.left, widths.top, widths.right,
                                       widths.bottom, color);
}

double ComponentOf(const KelColorRGBA& color, int channel, int channels) {
  const int interleaved[] = {color.blue, color.green, color.red, color.alpha};
  return channels == 1 ? color.red : interleaved[channel];
}

cv::Mat Bordered(const cv::Mat& image, const Widths& widths, const KelColorRGBA& color) {
  cv::Mat result(image.rows + widths.top + widths.bottom, image.cols + widths.left + widths.right,
                 image.type());
  const int channels = image.channels();
  for (int row = 0; row < result.rows; ++row) {
    for (int i = 0; i < result.cols * channels; ++i) {
      const int source_row = row - widths.top;
      const int source = i - widths.left * channels;
      const bool inside = source_row >= 0 && source_row < image.rows && source >= 0 &&
                          source < image.cols * channels;
      const double border = ComponentOf(color, i % channels, channels);
      if (image.depth() == CV_8U) {
        result.ptr<std::uint8_t>(row)[i] = inside ? image.ptr<std::uint8_t>(source_row)[source]
                                                  : static_cast<std::uint8_t>(border);
      } else {
        result.ptr<std::uint16_t>(row)[i] = inside ? image.ptr<std::uint16_t>(source_row)[source]
                                                   : static_cast<std::uint16_t>(border);
      }
    }
  }
  return result;
}

constexpr Widths kWidths[] = {{0, 0, 0, 0}, {1, 2, 3, 4}, {5, 0, 0, 0},   {0, 5, 0, 0},
                              {0, 0, 5, 0}, {0, 0, 0, 5}, {40, 1, 70, 33}};

TEST(AddBorder, SurroundsTheImageWithTheColor) {
  for (const int type : {CV_8UC1, CV_8UC2, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC3, CV_16UC4}) {
    for (const cv::Size size :
         {cv::Size(10, 10), cv::Size(1, 7), cv::Size(7, 1), cv::Size(67, 3)}) {
      for (const Widths& widths : kWidths) {
        SCOPED_TRACE(kelra_test::TypeName(type));
        const cv::Mat pixels = RandomImage(size.height, size.width, type);
        const KelColorRGBA color = CV_MAT_DEPTH(type) == CV_8U ? KelColorRGBA{255, 20, 0, 77}
                                                               : KelColorRGBA{65535, 300, 0, 1000};
        GuardedImage guarded(pixels, 6, 64);
        KelImage src(guarded.Mat());
        KelImage dst;
        ASSERT_EQ(AddBorder(src, &dst, widths, color), STATUS_OK);
        EXPECT_TRUE(SameImage(dst.Mat(), Bordered(pixels, widths, color)));
        EXPECT_TRUE(guarded.SurroundingsUntouched());
      }
    }
  }
}

// Shared out, the largest one also past the caches; rows follow each other with a gap and without.
TEST(AddBorder, SurroundsLargeImages) {
  constexpr KelColorRGBA kColor{200, 100, 50, 0};
  for (const Widths& widths : {Widths{5, 1, 3, 2}, Widths{0, 2000, 3, 700}}) {
    for (const int rows : {300, 1501}) {
      for (const int type : {CV_8UC3, CV_16UC1}) {
        KelImage src(RandomImage(rows, 4099, type));
        const cv::Mat expected = Bordered(src.Mat(), widths, kColor);
        KelImage dst;
        ASSERT_EQ(AddBorder(src, &dst, widths, kColor), STATUS_OK);
        EXPECT_TRUE(SameImage(dst.Mat(), expected));
        GuardedImage output(cv::Mat::zeros(expected.size(), type), 6, 64);
        dst = KelImage(output.Mat());
        ASSERT_EQ(AddBorder(src, &dst, widths, kColor), STATUS_OK);
        EXPECT_TRUE(SameImage(output.Mat(), expected));
        EXPECT_TRUE(output.SurroundingsUntouched());
      }
    }
  }
}

TEST(AddBorder, OfMoreThanFourChannelsTakesOneValueForAll) {
  KelImage src(RandomImage(4, 5, CV_8UC(6)));
  KelImage dst;
  EXPECT_EQ(AddBorder(src, &dst, {1, 2, 3, 4}, {7, 7, 7, 8}), ERR_BORDER_EXCEPTION);
  EXPECT_TRUE(dst.Mat().empty());
  ASSERT_EQ(AddBorder(src, &dst, {1, 2, 3, 4}, {7, 7, 7, 7}), STATUS_OK);
  cv::Mat expected;
  cv::copyMakeBorder(src.Mat(), expected, 2, 4, 1, 3, cv::BORDER_CONSTANT, cv::Scalar::all(7));
  EXPECT_TRUE(SameImage(dst.Mat(), expected));
}

TEST(AddBorder, TakesTheWidthsInTheOrderLeftTopRightBottom) {
  KelImage src(RandomImage(10, 10, CV_8UC1));
  KelImage dst;
  ASSERT_EQ(AddBorder(src, &dst, {1, 2, 3, 4}, {}), STATUS_OK);
  EXPECT_EQ(dst.Width(), 14);
  EXPECT_EQ(dst.Height(), 16);
  EXPECT_TRUE(SameImage(dst.Mat()(cv::Rect(1, 2, 10, 10)), src.Mat()));
}

TEST(AddBorder, OfAPartTakesNothingFromItsSurroundings) {
  const cv::Mat whole = RandomImage(30, 30, CV_8UC1);
  KelImage src(whole(cv::Rect(10, 10, 8, 8)));
  KelImage dst;
  ASSERT_EQ(AddBorder(src, &dst, {4, 4, 4, 4}, {9, 0, 0, 0}), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), Bordered(src.Mat().clone(), {4, 4, 4, 4}, {9, 0, 0, 0})));
}

TEST(AddBorder, OfOneChannelChecksAndPaintsRedAlone) {
  KelImage src(RandomImage(3, 3, CV_8UC1));
  KelImage dst;
  ASSERT_EQ(AddBorder(src, &dst, {1, 1, 1, 1}, {255, -1, 1000, 300}), STATUS_OK);
  EXPECT_EQ(dst.Mat().at<std::uint8_t>(0, 0), 255);
}

TEST(AddBorder, GivesTheSameResultWhenTheOutputIsOrOverlapsTheInput) {
  for (const Widths& widths : kWidths) {
    const cv::Mat pixels = RandomImage(12, 14, CV_8UC3);
    KelImage same(pixels.clone());
    ASSERT_EQ(AddBorder(same, &same, widths, {1, 2, 3, 4}), STATUS_OK);
    EXPECT_TRUE(SameImage(same.Mat(), Bordered(pixels, widths, {1, 2, 3, 4})));
  }
  // The input lies inside the output.
  cv::Mat memory = RandomImage(12, 14, CV_8UC1);
  KelImage src(memory(cv::Rect(1, 1, 10, 8)));
  const cv::Mat expected = Bordered(src.Mat().clone(), {2, 2, 2, 2}, {7, 0, 0, 0});
  KelImage dst(memory);
  ASSERT_EQ(AddBorder(src, &dst, {2, 2, 2, 2}, {7, 0, 0, 0}), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), expected));
}

TEST(AddBorder, WritesIntoAnOutputOfTheResultsSizeAndType) {
  KelImage src(RandomImage(10, 10, CV_8UC1));
  GuardedImage output(RandomImage(16, 14, CV_8UC1, 2), 3, 16);
  KelImage dst(output.Mat());
  ASSERT_EQ(AddBorder(src, &dst, {1, 2, 3, 4}, {5, 0, 0, 0}), STATUS_OK);
  EXPECT_EQ(dst.ImageData(), output.Mat().data);
  EXPECT_TRUE(SameImage(dst.Mat(), Bordered(src.Mat(), {1, 2, 3, 4}, {5, 0, 0, 0})));
  EXPECT_TRUE(output.SurroundingsUntouched());
}

TEST(AddBorder, GivesTheSameBytesUnderEveryParallelSetting) {
  constexpr Widths kAround{5, 30, 3, 20};
  constexpr KelColorRGBA kColor{200, 100, 50, 0};
  KelImage src(RandomImage(650, 901, CV_16UC3));
  const cv::Mat expected = Bordered(src.Mat(), kAround, kColor);
  for (const int parallel : kelra_test::ParallelSettingsFor(expected.rows)) {
    const kelra_test::ScopedSettings settings({.parallel = parallel});
    KelImage dst;
    ASSERT_EQ(AddBorder(src, &dst, kAround, kColor), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), expected)) << parallel;
  }
}

TEST(AddBorder, TellsTheFirstFaultAndLeavesTheOutput) {
  const KelColorRGBA bad{-1, 0, 0, 0};
  struct Case {
    cv::Mat image;
    Widths widths;
    KelColorRGBA color;
    KelLong status;
  };
  const cv::Mat grey = RandomImage(5, 5, CV_8UC1);
  const cv::Mat color = RandomImage(5, 5, CV_8UC3);
  const cv::Mat deep = RandomImage(5, 5, CV_16UC3);
  for (const Case& c : std::vector<Case>{
           {cv::Mat(), {-1, 0, 0, 0}, bad, ERR_IMAGE_EMPTY},
           {cv::Mat(0, 5, CV_32F), {-1, 0, 0, 0}, bad, ERR_IMAGE_EMPTY},
           {cv::Mat(5, 0, CV_32F), {-1, 0, 0, 0}, bad, ERR_IMAGE_EMPTY},
           {cv::Mat(5, 5, CV_32F, cv::Scalar(0)), {-1, 0, 0, 0}, bad, ERR_BIT_DEPTH},
           {grey, {-1, -1, -1, -1}, bad, ERR_PARAM_1},
           {grey, {0, -1, -1, -1}, bad, ERR_PARAM_2},
           {grey, {0, 0, -1, -1}, bad, ERR_PARAM_3},
           {grey, {0, 0, 0, -1}, bad, ERR_PARAM_4},
           {grey, {1, 1, 1, 1}, bad, ERR_PARAM_5},
           {grey, {1, 1, 1, 1}, {256, 0, 0, 0}, ERR_PARAM_5},
           {color, {1, 1, 1, 1}, {256, 0, 0, 0}, ERR_PARAM_5},
           {color, {1, 1, 1, 1}, {0, 256, 0, 0}, ERR_PARAM_5},
           {color, {1, 1, 1, 1}, {0, 0, 256, 0}, ERR_PARAM_5},
           {color, {1, 1, 1, 1}, {255, 0, 0, 300}, ERR_PARAM_5},
           {color, {1, 1, 1, 1}, {0, -1, 0, 0}, ERR_PARAM_5},
           {color, {1, 1, 1, 1}, {0, 0, 0, -1}, ERR_PARAM_5},
           {deep, {1, 1, 1, 1}, {65536, 0, 0, 0}, ERR_PARAM_5},
           {deep, {1, 1, 1, 1}, {0, 0, 65536, 0}, ERR_PARAM_5},
           {deep, {kIntMax, 1, 1, 1}, {0, 0, 65536, 0}, ERR_PARAM_5},
           // Sizes that no int and no memory holds.
           {grey, {kIntMax, 0, 0, 0}, {}, ERR_BORDER_EXCEPTION},
           {grey, {0, kIntMax, 0, 0}, {}, ERR_BORDER_EXCEPTION},
           {grey, {kIntMax, kIntMax, kIntMax, kIntMax}, {}, ERR_BORDER_EXCEPTION},
           {grey, {kIntMax - 5, kIntMax - 5, 0, 0}, {}, ERR_BORDER_EXCEPTION},
           // Bytes that wrap around in 64 bits.
           {deep, {1431655761, kIntMax - 5, 0, 0}, {}, ERR_BORDER_EXCEPTION},
           // OpenCV paints more than four channels only when all components are alike.
           {RandomImage(5, 5, CV_8UC(5)), {1, 1, 1, 1}, {1, 2, 3, 4}, ERR_BORDER_EXCEPTION}}) {
    KelImage src(c.image);
    const cv::Mat before = RandomImage(7, 7, c.image.type() == CV_8UC(5) ? CV_8UC(5) : CV_8UC1, 3);
    KelImage dst(before.clone());
    const void* data = dst.ImageData();
    kelra_test::RecordedLog log;
    EXPECT_EQ(AddBorder(src, &dst, c.widths, c.color), c.status);
    EXPECT_EQ(dst.ImageData(), data);
    EXPECT_TRUE(SameImage(dst.Mat(), before));
    EXPECT_EQ(log.Take(),
              std::vector<kelra_test::LogRecord>{kelra_test::StartRecord("AddBorder", 10178)});
    EXPECT_EQ(AddBorder(src, nullptr, c.widths, c.color),
              c.status == ERR_BORDER_EXCEPTION ? ERR_IMAGE_EMPTY : c.status);
  }
}

TEST(AddBorder, TakesTheLargestComponentsOfADepth) {
  KelImage dst;
  KelImage color(RandomImage(5, 5, CV_8UC3));
  EXPECT_EQ(AddBorder(color, &dst, {1, 1, 1, 1}, {255, 255, 255, 255}), STATUS_OK);
  KelImage deep(RandomImage(5, 5, CV_16UC3));
  EXPECT_EQ(AddBorder(deep, &dst, {1, 1, 1, 1}, {65535, 65535, 65535, 65535}), STATUS_OK);
}

TEST(AddBorder, LogsStartAndExit) {
  KelImage src(RandomImage(5, 4, CV_8UC1));
  KelImage dst;
  kelra_test::RecordedLog log;
  ASSERT_EQ(AddBorder(src, &dst, {1, 1, 1, 1}, {}), STATUS_OK);
  EXPECT_EQ(log.Take(),
            (std::vector<kelra_test::LogRecord>{kelra_test::StartRecord("AddBorder", 10178),
                                                kelra_test::ExitRecord("AddBorder", 10244)}));
}

}  // namespace
