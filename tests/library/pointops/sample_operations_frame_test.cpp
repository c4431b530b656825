// What square root, bitwise constants and statistics with a constant make of failing steps.

#include <vector>

#include "sample_operations.h"
#include "scripted_regions.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

constexpr KelLong kFailure = 4711;

class SampleOperationsWithFailures : public ::testing::TestWithParam<SampleOperation> {
 protected:
  KelLong Compute(KelROIType kind, int value) {
    KelROI roi(kind);
    return GetParam().call(object_, src_, roi, &dst_, value);
  }

  bool IsPointOperation() const { return GetParam().any_channels; }

  ::testing::AssertionResult OutputIsACopyOfTheInput() const {
    if (dst_.Mat().data == src_.Mat().data) {
      return ::testing::AssertionFailure() << "shares the input's pixels";
    }
    return SameImage(dst_.Mat(), src_.Mat());
  }

  ::testing::AssertionResult OutputIsUntouched() const {
    return dst_.Mat().data == before_.data ? ::testing::AssertionSuccess()
                                           : ::testing::AssertionFailure() << "output changed";
  }

  std::vector<LogRecord> Records(bool with_work, bool with_exit) {
    std::vector<LogRecord> records = {GetParam().start};
    if (with_work) {
      records.insert(records.end(), GetParam().work.begin(), GetParam().work.end());
    }
    if (with_exit) {
      records.push_back(GetParam().exit);
    }
    return records;
  }

  RegionScript& script_ = NewRegionScript();
  RecordedLog log_;
  KelImageOperation object_;
  KelImage src_{RandomImage(10, 20, CV_8UC1)};
  cv::Mat before_ = RandomImage(2, 2, CV_8UC1);
  KelImage dst_{before_};
};

class SampleOperationsWithFailingWork : public SampleOperationsWithFailures {};

std::vector<SampleOperation> OperationsWithConstants() {
  std::vector<SampleOperation> operations;
  for (const SampleOperation& operation : AllSampleOperations()) {
    if (operation.has_constant) {
      operations.push_back(operation);
    }
  }
  return operations;
}

INSTANTIATE_TEST_SUITE_P(, SampleOperationsWithFailures, ::testing::ValuesIn(AllSampleOperations()),
                         OperationName);
INSTANTIATE_TEST_SUITE_P(, SampleOperationsWithFailingWork,
                         ::testing::ValuesIn(OperationsWithConstants()), OperationName);

TEST_P(SampleOperationsWithFailures, CopyTheInputWhenTheMaskFails) {
  script_.mask_status = kFailure;
  EXPECT_EQ(Compute(KEL_ROI_REGION, 7), kFailure);
  EXPECT_TRUE(OutputIsACopyOfTheInput());
}

TEST_P(SampleOperationsWithFailures, CopyTheInputWhenTheExtractionFailsIfPointOperations) {
  script_.extraction_status = kFailure;
  EXPECT_EQ(Compute(KEL_ROI_CIRCLE, 7), kFailure);
  EXPECT_TRUE(IsPointOperation() ? OutputIsACopyOfTheInput() : OutputIsUntouched());
  EXPECT_EQ(log_.Take(), Records(false, false));
}

TEST_P(SampleOperationsWithFailures, CopyTheInputWhenThePartIsEmptyIfPointOperations) {
  script_.extracted = cv::Mat();
  EXPECT_EQ(Compute(KEL_ROI_CIRCLE, 7), ERR_IMAGE_EMPTY);
  EXPECT_TRUE(IsPointOperation() ? OutputIsACopyOfTheInput() : OutputIsUntouched());
}

TEST_P(SampleOperationsWithFailures, AnswerAFailedRestoreByACopyOrIfStatisticsBySuccess) {
  script_.restore_status = kFailure;
  script_.restored = RandomImage(3, 4, CV_8UC1, 5);
  EXPECT_EQ(Compute(KEL_ROI_CIRCLE, 7), IsPointOperation() ? kFailure : STATUS_OK);
  EXPECT_TRUE(IsPointOperation() ? OutputIsACopyOfTheInput()
                                 : SameImage(dst_.Mat(), *script_.restored));
  EXPECT_EQ(log_.Take(), Records(true, true));
}

TEST_P(SampleOperationsWithFailures, MakeTheMaskFromTheInputOrForOrAndXorFromAConstantImage) {
  ASSERT_EQ(Compute(KEL_ROI_REGION, 7), STATUS_OK);
  ASSERT_EQ(RegionCalls().size(), 1U);
  const cv::Mat mask_template = RegionCalls()[0].image;
  const std::string name = GetParam().name;
  if (name == "BitOrConst" || name == "BitXorConst") {
    EXPECT_TRUE(SameImage(mask_template, cv::Mat(10, 20, CV_8UC1, cv::Scalar(255))));
  } else {
    EXPECT_EQ(mask_template.data, src_.Mat().data);
  }
}

TEST_P(SampleOperationsWithFailures, KeepTheResultOnlyWhereTheMaskIs255) {
  script_.mask = cv::Mat(10, 20, CV_8UC1, cv::Scalar(254));
  script_.mask->at<uchar>(4, 5) = 255;
  ASSERT_EQ(Compute(KEL_ROI_REGION, 7), STATUS_OK);
  cv::Mat expected = src_.Mat().clone();
  expected.at<uchar>(4, 5) = Expected(GetParam(), src_.Mat(), 7).at<uchar>(4, 5);
  EXPECT_TRUE(SameImage(dst_.Mat(), expected));
}

TEST_P(SampleOperationsWithFailingWork, LeaveTheOutputOnTheWholeImage) {
  EXPECT_EQ(Compute(KEL_ROI_WHOLE_IMAGE, 256), ERR_PARAM_1);
  EXPECT_TRUE(OutputIsUntouched());
}

TEST_P(SampleOperationsWithFailingWork, CopyTheInputUnderAMask) {
  EXPECT_EQ(Compute(KEL_ROI_REGION, 256), ERR_PARAM_1);
  EXPECT_TRUE(OutputIsACopyOfTheInput());
  EXPECT_TRUE(RegionCalls().empty());
}

TEST_P(SampleOperationsWithFailingWork, CopyTheInputOnAPartIfPointOperations) {
  EXPECT_EQ(Compute(KEL_ROI_CIRCLE, -1), ERR_PARAM_1);
  EXPECT_TRUE(IsPointOperation() ? OutputIsACopyOfTheInput() : OutputIsUntouched());
  EXPECT_EQ(log_.Take().back().message, "start");
}

}  // namespace
}  // namespace kelra_test
