// PixelMaxConst and PixelMinConst write the constant before they compare, and use efficiency mode.

#include <KELRA/KelImageOperation.h>

#include "fake_settings.h"
#include "sample_operations.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

KelROI RunRegion() {
  KelRegion region(20, 10);
  region.Append({2, 3, 12});
  region.Append({3, 0, 19});
  return KelROI::Region(region);
}

class InPlaceStatistics : public ::testing::TestWithParam<SampleOperation> {
 protected:
  KelLong Compute(KelImage& src, KelROI roi, KelImage* dst, int value) {
    return GetParam().call(object_, src, roi, dst, value);
  }

  KelImageOperation object_;
};

INSTANTIATE_TEST_SUITE_P(, InPlaceStatistics,
                         ::testing::Values(ConstantStatistics()[0], ConstantStatistics()[1]),
                         OperationName);

TEST_P(InPlaceStatistics, GiveTheConstantEverywhereWhenTheOutputIsTheInput) {
  for (const int efficiency : {0, 1}) {
    const ScopedSettings settings({.efficiency = efficiency});
    for (const KelROI& roi : {KelROI::WholeImage(), RunRegion()}) {
      for (const int type : kPixelTypes) {
        KelImage image(RandomImage(10, 20, type));
        ASSERT_EQ(Compute(image, roi, &image, 60), STATUS_OK);
        EXPECT_TRUE(SameImage(image.Mat(), cv::Mat(10, 20, type, cv::Scalar::all(60))));
      }
    }
  }
}

TEST_P(InPlaceStatistics, GiveTheConstantWhereTheOutputSharesTheInputsPixels) {
  const cv::Mat image = RandomImage(10, 20, CV_8UC1);
  KelImage src(image.clone());
  KelImage dst(src.Mat());
  ASSERT_EQ(Compute(src, KelROI(), &dst, 60), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(10, 20, CV_8UC1, cv::Scalar(60))));

  cv::Mat larger = RandomImage(14, 20, CV_8UC1);
  KelImage upper(larger.rowRange(0, 10));
  cv::Mat expected = Expected(GetParam(), larger.rowRange(0, 10), 60);
  expected.rowRange(4, 10).setTo(60);
  KelImage lower(larger.rowRange(4, 14));
  ASSERT_EQ(Compute(upper, KelROI(), &lower, 60), STATUS_OK);
  EXPECT_TRUE(SameImage(lower.Mat(), expected));
}

TEST_P(InPlaceStatistics, LeaveAnOutputOfTheSizeButAnotherTypeToOpenCv) {
  KelImage src(RandomImage(10, 20, CV_8UC1));
  for (const KelROI& roi : {KelROI::WholeImage(), RunRegion()}) {
    KelImage dst(cv::Mat(10, 20, CV_16UC1, cv::Scalar(7)));
    EXPECT_THROW(static_cast<void>(Compute(src, roi, &dst, 60)), cv::Exception);
    EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(10, 20, CV_16UC1, cv::Scalar(60))));
  }
  EXPECT_EQ(OpenLoggers(), 0);
}

TEST_P(InPlaceStatistics, ShareTheResultsOfEfficiencyMode) {
  const ScopedSettings settings({.efficiency = 1});
  const bool is_max = std::string(GetParam().name) == "PixelMaxConst";
  KelImage first(RandomImage(10, 20, CV_8UC3, 1));
  KelImage second(RandomImage(10, 20, CV_8UC3, 2));
  for (const KelROI& roi : {KelROI::WholeImage(), KelROI(RunRegion())}) {
    KelImage first_result;
    KelImage second_result;
    ASSERT_EQ(Compute(first, roi, &first_result, 60), STATUS_OK);
    ASSERT_EQ(Compute(second, roi, &second_result, 60), STATUS_OK);
    const bool shared = is_max || roi.ROIType() != KEL_ROI_WHOLE_IMAGE;
    EXPECT_EQ(first_result.ImageData() == second_result.ImageData(), shared);
  }
}

TEST_P(InPlaceStatistics, KeepAnInputThatIsAnEarlierResultOfEfficiencyMode) {
  const ScopedSettings settings({.efficiency = 1});
  KelImage src(RandomImage(10, 20, CV_8UC1));
  KelImage earlier;
  ASSERT_EQ(Compute(src, RunRegion(), &earlier, 60), STATUS_OK);
  const cv::Mat kept = earlier.Mat().clone();
  KelImage later;
  ASSERT_EQ(Compute(earlier, KelROI(), &later, 90), STATUS_OK);
  EXPECT_TRUE(SameImage(earlier.Mat(), kept));
  EXPECT_TRUE(SameImage(later.Mat(), Expected(GetParam(), kept, 90)));
}

TEST_P(InPlaceStatistics, BindTheBufferBeforeTheRegionCheckOnlyForTheMaximum) {
  const ScopedSettings settings({.efficiency = 1});
  const bool is_max = std::string(GetParam().name) == "PixelMaxConst";
  KelImage src(RandomImage(10, 20, CV_8UC1));
  const cv::Mat before = RandomImage(2, 2, CV_8UC1);
  KelImage dst(before);
  EXPECT_EQ(Compute(src, KelROI(KEL_ROI_POINT), &dst, 60), ERR_ROI_TYPE);
  if (is_max) {
    EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat::zeros(10, 20, CV_8UC1)));
  } else {
    EXPECT_EQ(dst.ImageData(), before.data);
  }
  EXPECT_EQ(Compute(src, KelROI(KEL_ROI_POINT), nullptr, 60), ERR_ROI_TYPE);
  EXPECT_EQ(Compute(src, KelROI(), nullptr, 60), ERR_IMAGE_EMPTY);
}

TEST_P(InPlaceStatistics, KeepTheInputOutsideACutOutRegionInEfficiencyMode) {
  const ScopedSettings settings({.efficiency = 1});
  const cv::Mat image = RandomImage(10, 20, CV_8UC1);
  KelImage same(image.clone());
  ASSERT_EQ(Compute(same, KelROI::Rectangle(2, 3, 5, 4), &same, 60), STATUS_OK);
  cv::Mat expected = image.clone();
  Expected(GetParam(), image, 60)(cv::Rect(2, 3, 5, 4)).copyTo(expected(cv::Rect(2, 3, 5, 4)));
  EXPECT_TRUE(SameImage(same.Mat(), expected));
}

}  // namespace
}  // namespace kelra_test
