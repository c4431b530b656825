#include <gtest/gtest.h>

#include "KELRA/KelImageOperation.h"
#include "KELRA/KelROIDataConvert.h"
#include "comparison.h"
#include "every_instruction_set.h"
#include "fake_settings.h"
#include "recorded_log.h"
#include "region_of_interest.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::ExitRecord;
using kelra_test::GuardedImage;
using kelra_test::LogRecord;
using kelra_test::RandomImage;
using kelra_test::RecordedLog;
using kelra_test::SameImage;
using kelra_test::ScopedSettings;
using kelra_test::StartRecord;
using kelra_test::TypeName;

constexpr int kModes = 12;
constexpr int kTypes[] = {CV_8UC1, CV_16UC1};

KelLong Compare(KelImage& image1, KelImage& image2, KelImage* result, int mode) {
  return KelImageOperation().Compare(image1, image2, result, mode);
}

KelLong CompareConst(KelImage& image, KelROI roi, KelImage* result, int value, int mode) {
  return KelImageOperation().CompareConst(image, roi, result, value, mode);
}

// Like the first image in a third of the samples each: equal, smaller or larger.
cv::Mat SecondFor(const cv::Mat& first, std::uint64_t seed) {
  cv::Mat second = RandomImage(first.rows, first.cols, first.type(), seed);
  cv::Mat choice(first.size(), CV_8UC1);
  cv::RNG random(seed);
  random.fill(choice, cv::RNG::UNIFORM, 0, 3);
  first.copyTo(second, choice == 0);
  return second;
}

class ComparisonOnEverySet : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(ComparisonOnEverySet);

TEST_P(ComparisonOnEverySet, EveryModeAndWidth) {
  for (const int type : kTypes) {
    for (int width = 1; width <= 200; width += width < 70 ? 1 : 43) {
      for (const int gap : {0, 6}) {
        const cv::Mat first = RandomImage(3, width, type, static_cast<std::uint64_t>(width));
        const cv::Mat second = SecondFor(first, 5);
        for (int mode = 0; mode < kModes; ++mode) {
          GuardedImage guarded1(first, gap, gap);
          GuardedImage guarded2(second, gap, gap);
          GuardedImage target(second, gap, gap);
          KelImage image1(guarded1.Mat());
          KelImage image2(guarded2.Mat());
          KelImage result(target.Mat());
          ASSERT_EQ(Compare(image1, image2, &result, mode), STATUS_OK);
          ASSERT_EQ(result.ImageData(), target.Mat().data);
          ASSERT_TRUE(SameImage(result.Mat(), kelra_reference::Marked(first, second, mode)))
              << TypeName(type) << ", width " << width << ", mode " << mode;
          ASSERT_TRUE(target.SurroundingsUntouched());
          ASSERT_TRUE(guarded1.SurroundingsUntouched());
          ASSERT_TRUE(SameImage(guarded1.Mat(), first));
          ASSERT_TRUE(SameImage(guarded2.Mat(), second));

          for (const int value : {0, 1, 100, 254, 255}) {
            ASSERT_EQ(CompareConst(image1, KelROI(), &result, value, mode), STATUS_OK);
            ASSERT_TRUE(SameImage(result.Mat(), kelra_reference::MarkedAgainst(first, value, mode)))
                << TypeName(type) << ", width " << width << ", mode " << mode << ", value "
                << value;
            ASSERT_TRUE(target.SurroundingsUntouched());
          }
        }
      }
    }
  }
}

TEST_P(ComparisonOnEverySet, All8BitPairs) {
  cv::Mat columns(256, 257, CV_8UC1);
  cv::Mat rows(256, 257, CV_8UC1);
  for (int row = 0; row < 256; ++row) {
    for (int column = 0; column < 257; ++column) {
      columns.at<std::uint8_t>(row, column) = static_cast<std::uint8_t>(column);
      rows.at<std::uint8_t>(row, column) = static_cast<std::uint8_t>(row);
    }
  }
  KelImage image1(columns);
  KelImage image2(rows);
  KelImage result;
  for (int mode = 0; mode < kModes; ++mode) {
    ASSERT_EQ(Compare(image1, image2, &result, mode), STATUS_OK);
    EXPECT_TRUE(SameImage(result.Mat(), kelra_reference::Marked(columns, rows, mode))) << mode;
  }
}

TEST_P(ComparisonOnEverySet, All16BitSamplesWithAConstant) {
  cv::Mat samples(1, 65537, CV_16UC1);
  for (int i = 0; i < samples.cols; ++i) {
    samples.at<std::uint16_t>(i) = static_cast<std::uint16_t>(i - 1);
  }
  KelImage image(samples);
  KelImage result;
  for (const int value : {0, 1, 255, 256, 32767, 32768, 65534, 65535}) {
    for (int mode = 0; mode < kModes; ++mode) {
      ASSERT_EQ(CompareConst(image, KelROI(), &result, value, mode), STATUS_OK);
      EXPECT_TRUE(SameImage(result.Mat(), kelra_reference::MarkedAgainst(samples, value, mode)))
          << "value " << value << ", mode " << mode;
    }
  }
}

// Larger than the caches, so that the result is written past them.
TEST_P(ComparisonOnEverySet, LargeImages) {
  const cv::Mat first = RandomImage(3000, 7001, CV_8UC1, 1);
  const cv::Mat second = SecondFor(first, 2);
  KelImage image1(first);
  KelImage image2(second);
  KelImage result;
  ASSERT_EQ(Compare(image1, image2, &result, 7), STATUS_OK);
  EXPECT_TRUE(SameImage(result.Mat(), kelra_reference::Marked(first, second, 7)));
  ASSERT_EQ(CompareConst(image1, KelROI(), &result, 128, 3), STATUS_OK);
  EXPECT_TRUE(SameImage(result.Mat(), kelra_reference::MarkedAgainst(first, 128, 3)));
}

TEST(Comparison, TheFirstColumnKeepsItsValues) {
  for (const int type : kTypes) {
    KelImage image(cv::Mat(3, 4, type, cv::Scalar(9)));
    KelImage result;
    ASSERT_EQ(Compare(image, image, &result, 0), STATUS_OK);
    cv::Mat expected(3, 4, type, cv::Scalar(0));
    expected.col(0).setTo(9);
    EXPECT_TRUE(SameImage(result.Mat(), expected));
    ASSERT_EQ(CompareConst(image, KelROI(), &result, 9, 0), STATUS_OK);
    EXPECT_TRUE(SameImage(result.Mat(), expected));
  }
}

TEST(Comparison, TheMarkIs255At16BitsToo) {
  KelImage image(cv::Mat(1, 2, CV_16UC1, cv::Scalar(40000)));
  KelImage result;
  ASSERT_EQ(CompareConst(image, KelROI(), &result, 40000, 6), STATUS_OK);
  EXPECT_EQ(result.Mat().at<std::uint16_t>(0, 1), 255);
}

TEST(Comparison, ImagesOfDifferentSizesAreComparedWhereBothHavePixels) {
  for (const int type : kTypes) {
    const cv::Mat first = RandomImage(20, 50, type, 1);
    for (const cv::Size size : {cv::Size(50, 20),
                                {30, 20},
                                {50, 7},
                                {31, 9},
                                {70, 30},
                                {70, 9},
                                {31, 30},
                                {1, 1},
                                {1, 20},
                                {50, 1}}) {
      const cv::Mat second = RandomImage(size.height, size.width, type, 2);
      for (int mode = 0; mode < kModes; ++mode) {
        KelImage image1(first);
        KelImage image2(second);
        KelImage result;
        ASSERT_EQ(Compare(image1, image2, &result, mode), STATUS_OK);
        EXPECT_TRUE(SameImage(result.Mat(), kelra_reference::Marked(first, second, mode)))
            << size << ", mode " << mode;
      }
    }
  }
}

TEST(Comparison, TheOutputMayBeAnInput) {
  const cv::Mat memory = RandomImage(30, 60, CV_8UC1, 3);
  for (const cv::Size size : {cv::Size(40, 16), {30, 9}, {44, 20}}) {
    for (int mode = 0; mode < kModes; ++mode) {
      const cv::Mat first = RandomImage(16, 40, CV_8UC1, 1);
      const cv::Mat pixels = memory.clone();
      const cv::Mat second = pixels(cv::Rect({4, 2}, size)).clone();
      const cv::Mat expected = kelra_reference::Marked(first, second, mode);
      KelImage image1(first.clone());
      KelImage image2(pixels(cv::Rect({4, 2}, size)));
      ASSERT_EQ(Compare(image1, image2, &image1, mode), STATUS_OK);
      EXPECT_TRUE(SameImage(image1.Mat(), expected)) << mode;
      image1 = KelImage(first.clone());
      KelImage shifted(pixels(cv::Rect(7, 3, 40, 16)));
      ASSERT_EQ(Compare(image1, image2, &shifted, mode), STATUS_OK);
      EXPECT_TRUE(SameImage(shifted.Mat(), expected)) << mode;
      image2 = KelImage(second.clone());
      ASSERT_EQ(Compare(image1, image2, &image2, mode), STATUS_OK);
      EXPECT_TRUE(SameImage(image2.Mat(), expected)) << mode;
    }
  }
  KelImage image(memory.clone());
  ASSERT_EQ(CompareConst(image, KelROI(), &image, 77, 7), STATUS_OK);
  EXPECT_TRUE(SameImage(image.Mat(), kelra_reference::MarkedAgainst(memory, 77, 7)));
}

TEST(Comparison, TheSameBytesUnderEveryParallelSetting) {
  const cv::Mat first = RandomImage(300, 1100, CV_16UC1, 1);
  const cv::Mat second = SecondFor(first, 2);
  for (const int parallel : kelra_test::ParallelSettingsFor(300)) {
    const ScopedSettings settings({.parallel = parallel});
    KelImage image1(first);
    KelImage image2(second);
    KelImage result;
    ASSERT_EQ(Compare(image1, image2, &result, 8), STATUS_OK);
    EXPECT_TRUE(SameImage(result.Mat(), kelra_reference::Marked(first, second, 8))) << parallel;
  }
}

TEST(Comparison, CompareStatusesInOrder) {
  const cv::Mat good = RandomImage(5, 7, CV_8UC1);
  const cv::Mat empty(0, 7, CV_32FC3);
  const cv::Mat two(5, 7, CV_32FC2, cv::Scalar::all(1));
  const cv::Mat of_floats(5, 7, CV_32FC1, cv::Scalar(1));
  const cv::Mat words = RandomImage(5, 7, CV_16UC1);
  struct Case {
    cv::Mat image1;
    cv::Mat image2;
    int mode;
    bool has_output;
    KelLong status;
  };
  const Case cases[] = {
      {empty, good, 12, false, ERR_IMAGE_EMPTY},
      {two, empty, 12, false, ERR_IMAGE_EMPTY},
      {two, good, 12, false, ERR_PARAM_1},
      {good, good, 12, true, ERR_PARAM_1},
      {good, good, -1, true, ERR_PARAM_1},
      {good, good, 2147483647, true, ERR_PARAM_1},
      {good, good, -2147483647 - 1, true, ERR_PARAM_1},
      {two, good, 11, false, ERR_NOT_SINGLE_CHANNEL},
      {good, two, 11, false, ERR_NOT_SINGLE_CHANNEL},
      {of_floats, good, 11, false, ERR_IMAGE_EMPTY},  // no output
      {of_floats, good, 11, true, ERR_BIT_DEPTH},
      {of_floats, of_floats, 11, true, ERR_BIT_DEPTH},
      {good, of_floats, 11, true, ERR_DEPTH_MISMATCH},
      {words, good, 0, true, ERR_DEPTH_MISMATCH},
      {good, good, 11, true, STATUS_OK},
  };
  for (const Case& c : cases) {
    KelImage image1(c.image1);
    KelImage image2(c.image2);
    KelImage result(words.clone());
    EXPECT_EQ(Compare(image1, image2, c.has_output ? &result : nullptr, c.mode), c.status);
    if (c.status != STATUS_OK) {
      EXPECT_TRUE(SameImage(result.Mat(), words));
    }
  }
}

TEST(Comparison, CompareConstStatusesInOrder) {
  const cv::Mat good = RandomImage(5, 7, CV_8UC1);
  const cv::Mat words = RandomImage(5, 7, CV_16UC1);
  const cv::Mat of_floats(5, 7, CV_32FC1, cv::Scalar(1));
  const KelROI line(KEL_ROI_LINE);
  struct Case {
    cv::Mat image;
    int value;
    int mode;
    KelROI roi;
    bool has_output;
    KelLong status;
  };
  const Case cases[] = {
      {cv::Mat(0, 7, CV_8UC3), 256, 12, line, false, ERR_IMAGE_EMPTY},
      {cv::Mat(5, 7, CV_8UC3), 256, 12, line, false, ERR_NOT_SINGLE_CHANNEL},
      {good, 256, 12, line, false, ERR_PARAM_1},
      {good, -1, 12, line, false, ERR_PARAM_1},
      {words, 65536, 12, line, false, ERR_PARAM_1},
      {words, -1, 12, line, false, ERR_PARAM_1},
      {words, 256, 12, line, false, ERR_PARAM_2},
      {good, 255, 12, line, false, ERR_PARAM_2},
      {good, 255, -1, line, false, ERR_PARAM_2},
      {of_floats, 70000, 12, line, false, ERR_PARAM_2},
      {good, 255, 11, line, false, ERR_ROI_TYPE},
      {of_floats, 70000, 11, KelROI(), false, ERR_IMAGE_EMPTY},  // no output
      {of_floats, 70000, 11, KelROI(), true, ERR_BIT_DEPTH},
      {of_floats, 1, 11, KelROI::Rectangle(1, 1, 3, 3), true, ERR_BIT_DEPTH},
      {words, 256, 11, KelROI(), true, STATUS_OK},
      {words, 65535, 0, KelROI(), true, STATUS_OK},
  };
  for (const Case& c : cases) {
    KelImage image(c.image);
    KelImage result(words.clone());
    EXPECT_EQ(CompareConst(image, c.roi, c.has_output ? &result : nullptr, c.value, c.mode),
              c.status);
    if (c.status != STATUS_OK) {
      EXPECT_TRUE(SameImage(result.Mat(), words));
    }
  }
}

TEST(Comparison, EveryKindOfRegion) {
  KelRegion runs(40, 30);
  for (int row = 5; row < 20; ++row) {
    runs.Append({row, 6 + row / 3, 30 - row});
  }
  const KelROI regions[] = {
      KelROI::Rectangle(5, 6, 20, 10),
      KelROI::RotatedRectangle({20, 15}, 20, 8, 30),
      KelROI::Circle({20, 15}, 9),
      KelROI::Ellipse({20, 15}, 12, 6, 20),
      KelROI::Polygon({{3, 3}, {35, 8}, {18, 27}}),
      KelROI::Annulus({20, 15}, 4, 11),
      KelROI::Region(runs),
  };
  for (const int type : kTypes) {
    const cv::Mat pixels = RandomImage(30, 40, type, 1);
    for (const KelROI& region : regions) {
      for (int mode = 0; mode < kModes; ++mode) {
        KelROI roi = region;
        cv::Mat input = pixels.clone();
        cv::Mat mask;
        ASSERT_EQ(KelROIDataConvert().GenMaskImage(input, roi, &mask, 1, 0), 0);
        const auto work = [&](const cv::Mat& image) {
          return kelra_reference::MarkedAgainst(image, 100, mode);
        };
        const bool is_mask_path = roi.ROIType() == KEL_ROI_REGION;
        const cv::Mat expected = is_mask_path ? kelra_reference::UnderMask(pixels, mask, work)
                                              : kelra_reference::OnPart(pixels, mask, work);
        KelImage image(pixels);
        KelImage result;
        ASSERT_EQ(CompareConst(image, roi, &result, 100, mode), STATUS_OK);
        EXPECT_TRUE(SameImage(result.Mat(), expected))
            << TypeName(type) << ", kind " << roi.ROIType() << ", mode " << mode;
      }
    }
  }
}

TEST(Comparison, FailuresUnderARunLengthRegionAreAnsweredByTheInput) {
  KelRegion runs(40, 30);
  runs.Append({3, 3, 9});
  KelImage image(cv::Mat(30, 40, CV_32FC1, cv::Scalar(1)));
  KelImage result;
  EXPECT_EQ(CompareConst(image, KelROI::Region(runs), &result, 1, 0), ERR_BIT_DEPTH);
  EXPECT_TRUE(SameImage(result.Mat(), image.Mat()));
  EXPECT_NE(result.ImageData(), image.ImageData());
}

TEST(Comparison, ARegionOutsideTheImage) {
  const cv::Mat before = RandomImage(3, 3, CV_16UC1);
  const cv::Mat pixels = RandomImage(30, 40, CV_8UC1);
  KelImage image(pixels);
  KelImage cut(before.clone());
  EXPECT_NE(CompareConst(image, KelROI::Rectangle(100, 100, 5, 5), &cut, 1, 0), STATUS_OK);
  EXPECT_TRUE(SameImage(cut.Mat(), before));
  KelRegion runs(200, 200);
  runs.Append({100, 100, 120});
  KelImage masked(before.clone());
  EXPECT_NE(CompareConst(image, KelROI::Region(runs), &masked, 1, 0), STATUS_OK);
  EXPECT_TRUE(SameImage(masked.Mat(), pixels));
}

TEST(Comparison, LogRecords) {
  const LogRecord work_start = StartRecord("GreyAndOrOperation2_Compare", 4709);
  const LogRecord work_exit = ExitRecord("GreyAndOrOperation2_Compare", 4776);
  const LogRecord start = StartRecord("CompareConst", 7949);
  using Records = std::vector<LogRecord>;
  KelRegion runs(7, 5);
  runs.Append({1, 1, 3});
  KelImage image(RandomImage(5, 7, CV_8UC1));
  KelImage words(RandomImage(5, 7, CV_16UC1));
  KelImage result;
  RecordedLog log;
  EXPECT_EQ(Compare(image, image, &result, 0), STATUS_OK);
  EXPECT_EQ(log.Take(), (Records{StartRecord("Compare", 7684), work_start, work_exit}));
  EXPECT_EQ(Compare(image, image, &result, 12), ERR_PARAM_1);
  EXPECT_EQ(log.Take(), (Records{StartRecord("Compare", 7684)}));
  EXPECT_EQ(Compare(image, words, &result, 0), ERR_DEPTH_MISMATCH);
  EXPECT_EQ(log.Take(), (Records{StartRecord("Compare", 7684), work_start}));
  EXPECT_EQ(CompareConst(image, KelROI(), &result, 1, 0), STATUS_OK);
  EXPECT_EQ(log.Take(), (Records{start, work_start, work_exit}));
  EXPECT_EQ(CompareConst(image, KelROI::Region(runs), &result, 1, 0), STATUS_OK);
  EXPECT_EQ(log.Take(), (Records{start, work_start, work_exit}));
  EXPECT_EQ(CompareConst(image, KelROI::Rectangle(1, 1, 3, 3), &result, 1, 0), STATUS_OK);
  EXPECT_EQ(log.Take(), (Records{start, work_start, work_exit, ExitRecord("CompareConst", 8044)}));
  EXPECT_EQ(CompareConst(image, KelROI(), &result, 1, 12), ERR_PARAM_2);
  EXPECT_EQ(log.Take(), (Records{start}));
}

TEST(Comparison, EfficiencyModeChangesNothing) {
  const ScopedSettings settings({.efficiency = 1});
  KelImageOperation operation;
  KelImage image(RandomImage(5, 7, CV_8UC1));
  KelROI whole;
  KelImage first;
  KelImage second;
  ASSERT_EQ(operation.CompareConst(image, whole, &first, 1, 0), STATUS_OK);
  ASSERT_EQ(operation.CompareConst(image, whole, &second, 1, 0), STATUS_OK);
  EXPECT_NE(first.ImageData(), second.ImageData());
}

}  // namespace
}  // namespace KELRA
