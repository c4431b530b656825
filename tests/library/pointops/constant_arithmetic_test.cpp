// AddConst, SubtractConst, MultiplyConst and DivideConst through the public class, with the real
// region library, against the plain model.

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "KELRA/KelROIDataConvert.h"
#include "constant_methods.h"
#include "fake_settings.h"
#include "linear_cases.h"
#include "region_of_interest.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_reference::ArithmeticWithConstant;
using kelra_test::ConstantMethod;
using kelra_test::kConstantMethods;
using kelra_test::LinearCase;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::ScopedSettings;
using kelra_test::TypeName;

class ConstantArithmetic : public ::testing::TestWithParam<ConstantMethod> {
 protected:
  const ConstantMethod& method() const { return GetParam(); }

  cv::Mat Result(const cv::Mat& input, const KelROI& roi, int value, LinearCase linear) {
    KelImageOperation object;
    KelImage src(input);
    KelImage dst;
    EXPECT_EQ(method().Call(&object, src, roi, &dst, value, linear.scale, linear.offset),
              STATUS_OK);
    return dst.Mat();
  }

  cv::Mat Expected(const cv::Mat& input, int value, LinearCase linear) const {
    return ArithmeticWithConstant(method().operation, input, value, linear.scale, linear.offset);
  }

  kelra_reference::Work Work(int value, LinearCase linear) const {
    return [=, this](const cv::Mat& image) { return Expected(image, value, linear); };
  }
};

std::string MethodName(const ::testing::TestParamInfo<ConstantMethod>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(, ConstantArithmetic, ::testing::ValuesIn(kConstantMethods), MethodName);

cv::Mat MaskOf(cv::Mat image, KelROI roi) {
  cv::Mat mask;
  EXPECT_EQ(KelROIDataConvert().GenMaskImage(image, roi, &mask, 1, 0), STATUS_OK);
  return mask;
}

TEST_P(ConstantArithmetic, WholeImagesOfEveryTypeAndManySizes) {
  for (const int type : kelra_test::kPixelTypes) {
    for (const cv::Size size : {cv::Size(1, 1), cv::Size(1, 50), cv::Size(50, 1), cv::Size(7, 3),
                                cv::Size(8, 3), cv::Size(10, 4), cv::Size(16, 5), cv::Size(17, 5),
                                cv::Size(33, 9), cv::Size(211, 157), cv::Size(640, 480)}) {
      const cv::Mat input = RandomImage(size.height, size.width, type);
      for (const LinearCase linear : kelra_test::UsualLinearCases()) {
        for (const int value : {1, 2, 100, 255}) {
          ASSERT_TRUE(
              SameImage(Result(input, KelROI(), value, linear), Expected(input, value, linear)))
              << TypeName(type) << ' ' << size.width << " x " << size.height << ", value " << value
              << ", scale " << linear.scale << ", offset " << linear.offset;
        }
      }
    }
  }
}

TEST_P(ConstantArithmetic, EveryScaleAndOffset) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat input = RandomImage(2, 21, type);
    const int value = CV_MAT_DEPTH(type) == CV_8U ? 200 : 50000;
    for (const LinearCase linear : kelra_test::LinearCases()) {
      ASSERT_TRUE(SameImage(Result(input, KelROI(), value, linear), Expected(input, value, linear)))
          << TypeName(type) << ", scale " << linear.scale << ", offset " << linear.offset;
    }
  }
}

struct NamedRegion {
  const char* name;
  KelROI roi;
};

// On an image of 60 x 40 pixels. Boxes begin at no multiple of a block, so that blocks counted from
// the image's edge would give other bytes.
std::vector<NamedRegion> Shapes() {
  return {
      {"rectangle", KelROI::Rectangle(5, 7, 37, 20)},
      {"rectangle of whole blocks", KelROI::Rectangle(3, 3, 48, 5)},
      {"narrow rectangle", KelROI::Rectangle(11, 0, 6, 40)},
      {"one pixel", KelROI::Rectangle(13, 17, 1, 1)},
      {"all of the image", KelROI::Rectangle(0, 0, 60, 40)},
      {"rectangle past the left and top", KelROI::Rectangle(-9, -4, 30, 20)},
      {"rectangle past the right and bottom", KelROI::Rectangle(33, 21, 100, 100)},
      {"rectangle past all sides", KelROI::Rectangle(-100, -100, 500, 500)},
      {"rotated rectangle", KelROI::RotatedRectangle({30, 20}, 31, 17, 30)},
      {"circle", KelROI::Circle({29.5, 18.25}, 14.5)},
      {"circle past the corner", KelROI::Circle({2, 3}, 19)},
      {"ellipse", KelROI::Ellipse({31, 19}, 25, 9, -20)},
      {"polygon", KelROI::Polygon({{4, 3}, {55, 8}, {40, 36}, {22, 12}, {9, 33}})},
      {"annulus", KelROI::Annulus({30, 20}, 6, 17)},
  };
}

TEST_P(ConstantArithmetic, ShapesAreWorkedOnInTheirBoxAndTheRestKeepsItsValues) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat input = RandomImage(40, 60, type);
    for (const NamedRegion& region : Shapes()) {
      const cv::Mat mask = MaskOf(input, region.roi);
      for (const LinearCase linear : kelra_test::UsualLinearCases()) {
        EXPECT_TRUE(SameImage(Result(input, region.roi, 9, linear),
                              kelra_reference::OnPart(input, mask, Work(9, linear))))
            << TypeName(type) << ", " << region.name << ", scale " << linear.scale << ", offset "
            << linear.offset;
      }
    }
  }
}

std::vector<NamedRegion> RunLengthRegions() {
  KelRegion runs(60, 40);
  KelRegion outside(60, 40);
  KelRegion all(60, 40);
  for (int row = 3; row < 37; row += 2) {
    runs.Append({row, row / 2, row + 19});
    runs.Append({row, 45, 59});
    outside.Append({row - 10, row - 20, row + 50});
  }
  for (int row = 0; row < 40; ++row) {
    all.Append({row, 0, 59});
  }
  return {{"runs", KelROI::Region(runs)},
          {"runs partly outside", KelROI::Region(outside)},
          {"all of the image", KelROI::Region(all)}};
}

TEST_P(ConstantArithmetic, RunLengthRegionsAreWorkedOnInWholeRowsAndTheRestKeepsItsValues) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat input = RandomImage(40, 60, type);
    for (const NamedRegion& region : RunLengthRegions()) {
      const cv::Mat mask = MaskOf(input, region.roi);
      for (const LinearCase linear : kelra_test::UsualLinearCases()) {
        EXPECT_TRUE(SameImage(Result(input, region.roi, 9, linear),
                              kelra_reference::UnderMask(input, mask, Work(9, linear))))
            << TypeName(type) << ", " << region.name << ", scale " << linear.scale << ", offset "
            << linear.offset;
      }
    }
  }
}

// The same pixels as a rectangle and as runs: only the first starts its blocks at column 5.
TEST(ConstantArithmeticBlocks, StartAtTheBoxOfAShapeButAtTheImagesEdgeOfRuns) {
  KelImage src(cv::Mat(1, 40, CV_8UC1, cv::Scalar(11)));
  KelRegion runs(40, 1);
  runs.Append({0, 5, 24});
  KelROI as_shape = KelROI::Rectangle(5, 0, 20, 1);
  KelROI as_runs = KelROI::Region(runs);
  KelImageOperation object;
  KelImage of_shape;
  KelImage of_runs;
  ASSERT_EQ(object.AddConst(src, as_shape, &of_shape, 0, 1.0F, 0.75F), STATUS_OK);
  ASSERT_EQ(object.AddConst(src, as_runs, &of_runs, 0, 1.0F, 0.75F), STATUS_OK);
  cv::Mat expected(1, 40, CV_8UC1, cv::Scalar(11));
  expected.colRange(5, 21).setTo(12);
  EXPECT_TRUE(SameImage(of_shape.Mat(), expected));
  expected.colRange(5, 25).setTo(12);
  EXPECT_TRUE(SameImage(of_runs.Mat(), expected));
}

TEST_P(ConstantArithmetic, ARegionWithoutAPixelOfTheImageIsTheRegionLibrarysError) {
  KelImage src(RandomImage(40, 60, CV_8UC1));
  KelImageOperation object;
  KelRegion outside(60, 40);
  outside.Append({100, 0, 5});
  for (const KelROI& roi :
       {KelROI::Rectangle(100, 100, 5, 5), KelROI(KEL_ROI_CIRCLE), KelROI::Region(outside)}) {
    KelImage dst;
    const KelLong status = method().Call(&object, src, roi, &dst, 3, 1.0F, 0.0F);
    EXPECT_EQ(status / 10000, 1300) << status;
  }
}

TEST_P(ConstantArithmetic, TheParallelSettingChangesNoByte) {
  const LinearCase linear{0.37F, 11.25F};
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat input = RandomImage(301, 1817, type);
    const KelROI circle = KelROI::Circle({250, 150}, 140);
    const cv::Mat expected = Expected(input, 9, linear);
    const cv::Mat expected_in_circle =
        kelra_reference::OnPart(input, MaskOf(input, circle), Work(9, linear));
    for (const int parallel : kelra_test::ParallelSettingsFor(input.rows)) {
      const ScopedSettings settings({.parallel = parallel});
      EXPECT_TRUE(SameImage(Result(input, KelROI(), 9, linear), expected)) << parallel;
      EXPECT_TRUE(SameImage(Result(input, circle, 9, linear), expected_in_circle)) << parallel;
    }
  }
}

// One result, told by its numbers: a row of equal samples with one block and a tail.
struct Example {
  const char* what;
  std::size_t method;
  int sample, value;
  float scale, offset;
  int in_block, in_tail;
};

constexpr Example kExamples[] = {
    {"sums saturate", 0, 200, 100, 1.0F, 0.0F, 255, 255},
    {"differences do not wrap", 1, 50, 100, 1.0F, 0.0F, 0, 0},
    {"7.25", 2, 7, 2, 0.5F, 0.25F, 7, 7},
    {"10.5 ties to even", 0, 10, 0, 1.0F, 0.5F, 10, 10},
    {"11.5 ties to even", 0, 11, 0, 1.0F, 0.5F, 12, 11},
    {"100.6", 0, 100, 0, 1.0F, 0.6F, 101, 100},
    {"2.5 rounds up", 3, 5, 2, 1.0F, 0.0F, 3, 3},
    {"3.5 rounds up", 3, 7, 2, 1.0F, 0.0F, 4, 4},
    {"scaled after the sum", 0, 10, 20, 2.0F, 1.0F, 61, 61},
    {"negative scale", 1, 10, 60, -1.0F, 0.0F, 50, 50},
    {"scale zero leaves the offset", 2, 200, 200, 0.0F, 42.0F, 42, 42},
};

TEST(ConstantArithmeticExamples, HaveTheirResults) {
  for (const int channels : {1, 3}) {
    for (const Example& e : kExamples) {
      KelImage src(cv::Mat(2, 17, CV_8UC(channels), cv::Scalar::all(e.sample)));
      cv::Mat expected(2, 17, CV_8UC(channels), cv::Scalar::all(e.in_block));
      expected.col(16).setTo(cv::Scalar::all(e.in_tail));
      KelImageOperation object;
      KelImage dst;
      ASSERT_EQ(
          kConstantMethods[e.method].Call(&object, src, KelROI(), &dst, e.value, e.scale, e.offset),
          STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), expected)) << e.what;
    }
  }
}

TEST(ConstantArithmeticExamples, ANarrowImageIsAllTail) {
  KelImage src(cv::Mat(3, 10, CV_8UC1, cv::Scalar(11)));
  KelROI whole;
  KelImageOperation object;
  KelImage dst;
  ASSERT_EQ(object.AddConst(src, whole, &dst, 0, 1.0F, 0.9F), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(3, 10, CV_8UC1, cv::Scalar(11))));
}

TEST(ConstantArithmeticExamples, SixteenBitSumsReach65535) {
  KelImage src(cv::Mat(2, 9, CV_16UC3, cv::Scalar::all(65000)));
  KelROI whole;
  KelImageOperation object;
  KelImage dst;
  ASSERT_EQ(object.AddConst(src, whole, &dst, 256, 1.0F, 0.0F), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(2, 9, CV_16UC3, cv::Scalar::all(65256))));
  ASSERT_EQ(object.AddConst(src, whole, &dst, 65535, 1.0F, 0.0F), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(2, 9, CV_16UC3, cv::Scalar::all(65535))));
}

}  // namespace
}  // namespace KELRA
