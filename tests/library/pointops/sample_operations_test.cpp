// Square root, bitwise constants and statistics with a constant: values, regions, memory.

#include "sample_operations.h"

#include <vector>

#include "KELRA/KelROIDataConvert.h"
#include "every_instruction_set.h"
#include "fake_settings.h"
#include "frame/kernels/row_kernels.h"
#include "region_of_interest.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

constexpr int kAllTypes[] = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3, CV_8UC2, CV_16UC4};

bool Accepts(const SampleOperation& operation, int type) {
  return operation.any_channels || CV_MAT_CN(type) == 1 || CV_MAT_CN(type) == 3;
}

std::vector<int> ConstantsFor(const SampleOperation& operation, int largest) {
  if (!operation.has_constant) {
    return {0};
  }
  return {0, 1, 14, 127, 128, 200, largest - 1, largest};
}

class Operations : public ::testing::TestWithParam<SampleOperation> {
 protected:
  KelLong Compute(const cv::Mat& image, KelROI roi, KelImage* dst, int value) {
    KelImage src(image);
    return GetParam().call(object_, src, roi, dst, value);
  }

  KelImageOperation object_;
};

INSTANTIATE_TEST_SUITE_P(, Operations, ::testing::ValuesIn(AllSampleOperations()), OperationName);

TEST_P(Operations, GiveTheModelsResultForEverySampleAndConstantOnEveryInstructionSet) {
  cv::Mat bytes(16, 16, CV_8UC1);
  cv::Mat words(256, 256, CV_16UC1);
  for (int i = 0; i < 65536; ++i) {
    bytes.ptr<std::uint8_t>()[i % 256] = static_cast<std::uint8_t>(i % 256);
    words.ptr<std::uint16_t>()[i] = static_cast<std::uint16_t>(i);
  }
  const kernels::RowKernels& before = kernels::ActiveRowKernels();
  for (const kernels::RowKernels* set : kernels::SupportedRowKernels()) {
    SCOPED_TRACE(set->instruction_set);
    kernels::UseRowKernels(*set);
    for (const cv::Mat& image : {bytes, words}) {
      for (const int value : ConstantsFor(GetParam(), LargestOf(image))) {
        KelImage dst;
        ASSERT_EQ(Compute(image, KelROI(), &dst, value), STATUS_OK);
        EXPECT_TRUE(SameImage(dst.Mat(), Expected(GetParam(), image, value))) << value;
      }
    }
  }
  kernels::UseRowKernels(before);
}

TEST_P(Operations, TreatEveryWidthTypeAndStrideAlikeAndTouchNothingBesideTheImage) {
  const kernels::RowKernels& before = kernels::ActiveRowKernels();
  for (const kernels::RowKernels* set : kernels::SupportedRowKernels()) {
    SCOPED_TRACE(set->instruction_set);
    kernels::UseRowKernels(*set);
    for (const int type : kAllTypes) {
      if (!Accepts(GetParam(), type)) {
        continue;
      }
      for (int columns = 1; columns <= 70; ++columns) {
        const cv::Mat image = RandomImage(3, columns, type, static_cast<std::uint64_t>(columns));
        const int value = GetParam().has_constant ? 77 : 0;
        const cv::Mat expected = Expected(GetParam(), image, value);
        for (const int gap : {0, 7 * static_cast<int>(image.elemSize1())}) {
          GuardedImage src(image, gap, gap);
          GuardedImage dst(RandomImage(3, columns, type, 99), gap, gap);
          KelImage output(dst.Mat());
          ASSERT_EQ(Compute(src.Mat(), KelROI(), &output, value), STATUS_OK);
          ASSERT_EQ(output.ImageData(), dst.Mat().data);
          ASSERT_TRUE(SameImage(output.Mat(), expected)) << TypeName(type) << ' ' << columns;
          ASSERT_TRUE(SameImage(src.Mat(), image));
          ASSERT_TRUE(src.SurroundingsUntouched());
          ASSERT_TRUE(dst.SurroundingsUntouched());
        }
      }
    }
  }
  kernels::UseRowKernels(before);
}

TEST_P(Operations, GiveTheSameBytesWithEveryParallelSetting) {
  for (const int type : {CV_8UC1, CV_16UC3}) {
    const cv::Mat image = RandomImage(301, 1757, type);
    const cv::Mat expected = Expected(GetParam(), image, GetParam().has_constant ? 100 : 0);
    for (const int parallel : ParallelSettingsFor(image.rows)) {
      const ScopedSettings settings({.parallel = parallel});
      KelImage dst;
      ASSERT_EQ(Compute(image, KelROI(), &dst, 100), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), expected)) << parallel;
    }
  }
}

TEST_P(Operations, AcceptSingleRowsAndColumnsAndSinglePixels) {
  for (const cv::Size size : {cv::Size(1, 1), cv::Size(1, 50), cv::Size(50, 1)}) {
    for (const int type : kPixelTypes) {
      const cv::Mat image = RandomImage(size.height, size.width, type);
      KelImage dst;
      ASSERT_EQ(Compute(image, KelROI(), &dst, 33), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), Expected(GetParam(), image, 33)));
    }
  }
}

KelROI RunRegion() {
  KelRegion region(40, 30);
  region.Append({2, 3, 20});
  region.Append({3, 0, 39});
  region.Append({17, 11, 11});
  return KelROI::Region(region);
}

TEST_P(Operations, WorkInsideTheRegionAndKeepTheInputOutside) {
  const KelROI regions[] = {KelROI::Rectangle(3, 4, 20, 11),
                            KelROI::Circle({20, 15}, 9),
                            KelROI::Ellipse({18, 12}, 12, 5, 30),
                            KelROI::RotatedRectangle({20, 15}, 15, 8, 20),
                            KelROI::Annulus({20, 15}, 5, 12),
                            KelROI::Polygon({{2, 3}, {30, 8}, {12, 25}}),
                            RunRegion()};
  for (KelROI roi : regions) {
    for (const int type : kPixelTypes) {
      cv::Mat image = RandomImage(30, 40, type);
      cv::Mat mask;
      ASSERT_EQ(KelROIDataConvert().GenMaskImage(image, roi, &mask, 1, 0), 0);
      const kelra_reference::Work work = [](const cv::Mat& part) {
        return Expected(GetParam(), part, 90);
      };
      const cv::Mat expected = kelra_reference::InsideMask(image, work(image), mask);
      KelImage dst;
      for (int call = 1; call <= 2; ++call) {  // into a new matrix, then into the same
        ASSERT_EQ(Compute(image, roi, &dst, 90), STATUS_OK);
        EXPECT_TRUE(SameImage(dst.Mat(), expected)) << roi.ROIType() << ' ' << call;
        cv::bitwise_not(dst.Mat(), dst.Mat());
      }
    }
  }
}

// Which kinds of methods have no effect of their own when they work in place.
bool IsWrittenInPlace(const SampleOperation& operation) {
  return std::string(operation.name) == "PixelMaxConst" ||
         std::string(operation.name) == "PixelMinConst";
}

TEST_P(Operations, GiveTheSameResultWhenTheOutputIsTheInput) {
  for (KelROI roi : {KelROI::WholeImage(), KelROI::Circle({20, 15}, 9), RunRegion()}) {
    if (IsWrittenInPlace(GetParam()) && roi.ROIType() != KEL_ROI_CIRCLE) {
      continue;  // has a test of its own
    }
    const cv::Mat image = RandomImage(30, 40, CV_8UC3);
    KelImage separate;
    ASSERT_EQ(Compute(image.clone(), roi, &separate, 60), STATUS_OK);

    KelImage same(image.clone());
    ASSERT_EQ(GetParam().call(object_, same, roi, &same, 60), STATUS_OK);
    EXPECT_TRUE(SameImage(same.Mat(), separate.Mat())) << roi.ROIType();

    KelImage src(image.clone());
    KelImage sharing(src.Mat());
    ASSERT_EQ(GetParam().call(object_, src, roi, &sharing, 60), STATUS_OK);
    EXPECT_TRUE(SameImage(sharing.Mat(), separate.Mat())) << roi.ROIType();

    if (!IsWrittenInPlace(GetParam())) {
      cv::Mat larger(35, 45, CV_8UC3);
      cv::Mat from = larger(cv::Rect(0, 0, 40, 30));
      image.copyTo(from);
      KelImage overlapping(larger(cv::Rect(3, 2, 40, 30)));
      ASSERT_EQ(Compute(from, roi, &overlapping, 60), STATUS_OK);
      EXPECT_TRUE(SameImage(overlapping.Mat(), separate.Mat())) << roi.ROIType();
    }
  }
}

TEST_P(Operations, ReplaceAnOutputThatDoesNotFit) {
  const cv::Mat image = RandomImage(8, 9, CV_16UC1);
  KelImage dst(cv::Mat(9, 8, CV_8UC3, cv::Scalar::all(5)));
  ASSERT_EQ(Compute(image, KelROI(), &dst, 500), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), Expected(GetParam(), image, 500)));
}

struct Refusal {
  std::string what;
  cv::Mat image;
  KelROI roi;
  int value;
  KelLong point_operation;
  KelLong statistic;
};

// Two faults at once tell the order of the checks.
std::vector<Refusal> Refusals() {
  const cv::Mat good = RandomImage(4, 5, CV_8UC1);
  const cv::Mat floats(4, 5, CV_32FC1, cv::Scalar(1));
  const cv::Mat empty(0, 10, CV_8UC1);
  const cv::Mat empty_floats(0, 10, CV_32FC1);
  const cv::Mat four(4, 5, CV_8UC4, cv::Scalar::all(1));
  const KelROI point(KEL_ROI_POINT);
  const KelROI whole;
  return {
      {"empty, depth", empty_floats, whole, 1, ERR_BIT_DEPTH, ERR_IMAGE_EMPTY},
      {"empty, region", empty, point, 1, ERR_ROI_TYPE, ERR_IMAGE_EMPTY},
      {"depth, region", floats, point, 1, ERR_BIT_DEPTH, ERR_BIT_DEPTH},
      {"region, value", good, point, -1, ERR_ROI_TYPE, ERR_ROI_TYPE},
      {"line", good, KelROI(KEL_ROI_LINE), 1, ERR_ROI_TYPE, ERR_ROI_TYPE},
      {"polyline", good, KelROI(KEL_ROI_POLYLINE), 1, ERR_ROI_TYPE, ERR_ROI_TYPE},
      {"arc", good, KelROI(KEL_ROI_ARC), 1, ERR_ROI_TYPE, ERR_ROI_TYPE},
      {"12", good, KelROI(static_cast<KelROIType>(12)), 1, ERR_ROI_TYPE, ERR_ROI_TYPE},
      {"empty, value", empty, whole, -1, ERR_IMAGE_EMPTY, ERR_IMAGE_EMPTY},
      {"channels, value", four, whole, -1, ERR_PARAM_1, ERR_CHANNEL_COUNT},
      {"below", good, whole, -1, ERR_PARAM_1, ERR_PARAM_1},
      {"above 8 bits", good, whole, 256, ERR_PARAM_1, ERR_PARAM_1},
      {"above 16 bits", RandomImage(4, 5, CV_16UC1), whole, 65536, ERR_PARAM_1, ERR_PARAM_1},
      {"signed", cv::Mat(4, 5, CV_8SC1, cv::Scalar(1)), point, 1, ERR_BIT_DEPTH, ERR_BIT_DEPTH},
      {"three dimensions", cv::Mat(3, std::vector<int>{2, 2, 2}.data(), CV_8UC1), whole, 1,
       ERR_IMAGE_EMPTY, ERR_IMAGE_EMPTY},
  };
}

TEST_P(Operations, ReportTheFirstFailingCheckAndLeaveTheOutputAlone) {
  for (const Refusal& refusal : Refusals()) {
    KelLong expected = GetParam().any_channels ? refusal.point_operation : refusal.statistic;
    if (expected == ERR_PARAM_1 && !GetParam().has_constant) {
      expected = STATUS_OK;
    }
    const cv::Mat before = RandomImage(2, 2, CV_16UC1);
    KelImage dst(before);
    RecordedLog log;
    EXPECT_EQ(Compute(refusal.image, refusal.roi, &dst, refusal.value), expected) << refusal.what;
    if (expected != STATUS_OK) {
      EXPECT_EQ(dst.ImageData(), before.data) << refusal.what;
      EXPECT_EQ(log.Take()[0], GetParam().start);
    }
    EXPECT_EQ(Compute(refusal.image, refusal.roi, nullptr, refusal.value),
              expected == ERR_ROI_TYPE || expected == ERR_BIT_DEPTH ? expected : ERR_IMAGE_EMPTY)
        << refusal.what;
  }
}

TEST_P(Operations, AcceptTheConstantsAtTheEndsOfTheRange) {
  for (const int type : {CV_8UC1, CV_16UC1}) {
    const cv::Mat image = RandomImage(4, 5, type);
    for (const int value : {0, LargestOf(image)}) {
      KelImage dst;
      EXPECT_EQ(Compute(image, KelROI(), &dst, value), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), Expected(GetParam(), image, value)));
    }
  }
}

TEST_P(Operations, LeaveACopyOfTheInputWhenAPartFailsOnlyAmongThePointOperations) {
  const cv::Mat image = RandomImage(30, 40, CV_8UC1);
  const cv::Mat before = RandomImage(3, 3, CV_8UC1);
  KelImage dst(before);
  EXPECT_EQ(Compute(image, KelROI::Rectangle(100, 100, 3, 3), &dst, 1), KEL_ROI_ERR_OUTSIDE);
  if (GetParam().any_channels) {
    EXPECT_TRUE(SameImage(dst.Mat(), image));
  } else {
    EXPECT_EQ(dst.ImageData(), before.data);
  }
}

std::vector<LogRecord> Concatenated(std::vector<LogRecord> records,
                                    const std::vector<LogRecord>& more) {
  records.insert(records.end(), more.begin(), more.end());
  return records;
}

TEST_P(Operations, LogTheirStartTheirWorkAndOnACutOutRegionTheirExit) {
  const cv::Mat image = RandomImage(30, 40, CV_8UC1);
  const std::vector<LogRecord> start_and_work = Concatenated({GetParam().start}, GetParam().work);
  KelImage dst;
  RecordedLog log;
  ASSERT_EQ(Compute(image, KelROI(), &dst, 1), STATUS_OK);
  EXPECT_EQ(log.Take(), start_and_work);
  ASSERT_EQ(Compute(image, KelROI::Rectangle(1, 1, 9, 9), &dst, 1), STATUS_OK);
  EXPECT_EQ(log.Take(), Concatenated(start_and_work, {GetParam().exit}));
  ASSERT_EQ(Compute(image, RunRegion(), &dst, 1), STATUS_OK);
  const std::string name = GetParam().name;
  const bool makes_template = name == "BitOrConst" || name == "BitXorConst";
  EXPECT_EQ(log.Take(), makes_template
                            ? Concatenated(start_and_work, {StartRecord("CreateConst", 6848),
                                                            ExitRecord("CreateConst", 6952)})
                            : start_and_work);
  EXPECT_EQ(OpenLoggers(), 0);
}

}  // namespace
}  // namespace kelra_test
