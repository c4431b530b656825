// Where AddConst, SubtractConst, MultiplyConst and DivideConst write, and that an output which
// shares the input's pixels changes no result.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "KELRA/KelROIDataConvert.h"
#include "constant_methods.h"
#include "region_of_interest.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::ConstantMethod;
using kelra_test::GuardedImage;
using kelra_test::kConstantMethods;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::TypeName;

constexpr int kValue = 5;
constexpr float kScale = 0.6F;
constexpr float kOffset = 1.75F;

class ConstantArithmeticOutput : public ::testing::TestWithParam<ConstantMethod> {
 protected:
  KelLong Call(KelImage& src, const KelROI& roi, KelImage* dst) {
    return GetParam().Call(&object_, src, roi, dst, kValue, kScale, kOffset);
  }

  // The result for a separate output.
  cv::Mat Expected(const cv::Mat& input, KelROI roi) const {
    const auto work = [&](const cv::Mat& image) {
      return kelra_reference::ArithmeticWithConstant(GetParam().operation, image, kValue, kScale,
                                                     kOffset);
    };
    if (roi.ROIType() == KEL_ROI_WHOLE_IMAGE) {
      return work(input);
    }
    cv::Mat image = input;
    cv::Mat mask;
    EXPECT_EQ(KelROIDataConvert().GenMaskImage(image, roi, &mask, 1, 0), STATUS_OK);
    return roi.ROIType() == KEL_ROI_REGION ? kelra_reference::UnderMask(input, mask, work)
                                           : kelra_reference::OnPart(input, mask, work);
  }

  KelImageOperation object_;
};

std::string MethodName(const ::testing::TestParamInfo<ConstantMethod>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(, ConstantArithmeticOutput, ::testing::ValuesIn(kConstantMethods),
                         MethodName);

constexpr int kRows = 13;
constexpr int kColumns = 37;

KelROI Runs() {
  KelRegion runs(kColumns, kRows);
  for (int row = 1; row < kRows - 1; ++row) {
    runs.Append({row, row, 2 * row + 8});
  }
  return KelROI::Region(runs);
}

// One region for each path.
std::vector<KelROI> Regions() {
  return {KelROI::WholeImage(), KelROI::Rectangle(3, 2, 21, 9), Runs()};
}

TEST_P(ConstantArithmeticOutput, AnOutputOfAnotherSizeOrTypeGetsANewMatrix) {
  const int sizes[] = {kRows, kColumns, 2};
  const cv::Mat outputs[] = {
      cv::Mat(),
      cv::Mat(kRows, kColumns, CV_16UC1, cv::Scalar(7)),
      cv::Mat(kRows, kColumns, CV_8UC3, cv::Scalar::all(7)),
      cv::Mat(kRows, kColumns, CV_8SC1, cv::Scalar(7)),
      cv::Mat(kRows, kColumns, CV_64FC1, cv::Scalar(7)),
      cv::Mat(kColumns, kRows, CV_8UC1, cv::Scalar(7)),
      cv::Mat(kRows - 1, kColumns, CV_8UC1, cv::Scalar(7)),
      cv::Mat(3, sizes, CV_8UC1, cv::Scalar(7)),
  };
  const cv::Mat input = RandomImage(kRows, kColumns, CV_8UC1);
  for (const KelROI& roi : Regions()) {
    for (const cv::Mat& output : outputs) {
      const cv::Mat before = output.clone();
      KelImage src(input);
      KelImage dst(output);
      ASSERT_EQ(Call(src, roi, &dst), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), Expected(input, roi)));
      EXPECT_NE(dst.Mat().data, output.data);
      if (output.dims <= 2) {
        EXPECT_TRUE(SameImage(output, before));
      }
    }
  }
}

TEST_P(ConstantArithmeticOutput, AFittingOutputIsWrittenInPlaceWhereTheWholeImageIsWorkedOn) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat input = RandomImage(kRows, kColumns, type);
    for (const KelROI& roi : {KelROI::WholeImage(), Runs()}) {
      KelImage src(input);
      KelImage dst(RandomImage(kRows, kColumns, type, 2));
      const void* pixels = dst.ImageData();
      ASSERT_EQ(Call(src, roi, &dst), STATUS_OK);
      EXPECT_EQ(dst.ImageData(), pixels);
      EXPECT_TRUE(SameImage(dst.Mat(), Expected(input, roi)));
    }
  }
}

TEST_P(ConstantArithmeticOutput, PartsOfLargerImagesAreReadAndWrittenWithoutTheirSurroundings) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat pixels = RandomImage(kRows, kColumns, type);
    for (const KelROI& roi : Regions()) {
      GuardedImage input(pixels, 26, 100);
      GuardedImage output(RandomImage(kRows, kColumns, type, 2), 10, 70);
      KelImage src(input.Mat());
      KelImage dst(output.Mat());
      ASSERT_EQ(Call(src, roi, &dst), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), Expected(pixels, roi)));
      EXPECT_TRUE(output.SurroundingsUntouched());
      EXPECT_TRUE(input.SurroundingsUntouched());
      EXPECT_TRUE(SameImage(input.Mat(), pixels));
    }
  }
}

TEST_P(ConstantArithmeticOutput, TheOutputMayBeTheInput) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat pixels = RandomImage(kRows, kColumns, type);
    for (const KelROI& roi : Regions()) {
      KelImage image(pixels.clone());
      ASSERT_EQ(Call(image, roi, &image), STATUS_OK);
      EXPECT_TRUE(SameImage(image.Mat(), Expected(pixels, roi))) << TypeName(type);
    }
  }
}

TEST_P(ConstantArithmeticOutput, TheOutputMayHoldTheInputsMatrix) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat pixels = RandomImage(kRows, kColumns, type);
    for (const KelROI& roi : Regions()) {
      KelImage src(pixels.clone());
      KelImage dst(src);
      ASSERT_EQ(Call(src, roi, &dst), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), Expected(pixels, roi))) << TypeName(type);
    }
  }
}

TEST_P(ConstantArithmeticOutput, TheOutputMayOverlapTheInput) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat pixels = RandomImage(kRows, kColumns, type);
    for (const KelROI& roi : Regions()) {
      for (const cv::Point shift : {cv::Point(1, 0), cv::Point(-1, 0), cv::Point(0, 1),
                                    cv::Point(0, -1), cv::Point(3, -2), cv::Point(-2, 3)}) {
        cv::Mat whole = RandomImage(kRows + 8, kColumns + 8, type, 3);
        const cv::Rect at(4, 4, kColumns, kRows);
        KelImage src(whole(at));
        KelImage dst(whole(at + shift));
        pixels.copyTo(src.Mat());
        ASSERT_EQ(Call(src, roi, &dst), STATUS_OK);
        EXPECT_TRUE(SameImage(dst.Mat(), Expected(pixels, roi)))
            << TypeName(type) << ", kind " << roi.ROIType() << ", shift " << shift;
      }
    }
  }
}

// The same memory seen with another row step: rows of the output lie across rows of the input.
TEST_P(ConstantArithmeticOutput, TheOutputMayBeAnotherViewOfTheInputsMemory) {
  for (const KelROI& roi : Regions()) {
    std::vector<unsigned char> memory(static_cast<std::size_t>(kRows) * (kColumns + 9));
    KelImage src(cv::Mat(kRows, kColumns, CV_8UC1, memory.data(), kColumns + 2));
    KelImage dst(cv::Mat(kRows, kColumns, CV_8UC1, memory.data() + 1, kColumns + 7));
    const cv::Mat pixels = RandomImage(kRows, kColumns, CV_8UC1);
    pixels.copyTo(src.Mat());
    ASSERT_EQ(Call(src, roi, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), Expected(pixels, roi)));
  }
}

}  // namespace
}  // namespace KELRA
