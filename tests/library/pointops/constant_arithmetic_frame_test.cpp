// What AddConst, SubtractConst, MultiplyConst and DivideConst do around their arithmetic: checks,
// log, failures of their siblings, efficiency mode.

#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "constant_methods.h"
#include "fake_settings.h"
#include "recorded_log.h"
#include "region_of_interest.h"
#include "scripted_regions.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::ConstantMethod;
using kelra_test::ExitRecord;
using kelra_test::kConstantMethods;
using kelra_test::LogRecord;
using kelra_test::RandomImage;
using kelra_test::RecordedLog;
using kelra_test::SameImage;
using kelra_test::ScopedSettings;
using kelra_test::StartRecord;

constexpr KelROIType kRejectedKinds[] = {KEL_ROI_POINT,
                                         KEL_ROI_LINE,
                                         KEL_ROI_POLYLINE,
                                         KEL_ROI_ARC,
                                         static_cast<KelROIType>(12),
                                         static_cast<KelROIType>(99),
                                         static_cast<KelROIType>(-1)};

constexpr int kValue = 3;
constexpr float kScale = 0.75F;
constexpr float kOffset = 2.5F;

std::string MethodName(const ::testing::TestParamInfo<ConstantMethod>& info) {
  return info.param.name;
}

class ConstantArithmeticFrame : public ::testing::TestWithParam<ConstantMethod> {
 protected:
  const ConstantMethod& method() const { return GetParam(); }

  KelLong Call(KelImage& src, KelROIType kind, KelImage* dst, int value = kValue) {
    return Call(&object_, src, kind, dst, value);
  }
  KelLong Call(KelImageOperation* object, KelImage& src, KelROIType kind, KelImage* dst,
               int value = kValue) {
    return method().Call(object, src, KelROI(kind), dst, value, kScale, kOffset);
  }

  cv::Mat WorkOn(const cv::Mat& image) const {
    return kelra_reference::ArithmeticWithConstant(method().operation, image, kValue, kScale,
                                                   kOffset);
  }
  // Of a run-length region, or of a shape: the box of the script.
  cv::Mat UnderMask(const cv::Mat& image) const {
    return kelra_reference::UnderMask(image, MaskOf(image),
                                      [&](const cv::Mat& whole) { return WorkOn(whole); });
  }
  cv::Mat OnPart(const cv::Mat& image) const {
    return kelra_reference::OnPart(image, MaskOf(image),
                                   [&](const cv::Mat& part) { return WorkOn(part); });
  }

  std::vector<LogRecord> Start() const { return {StartRecord(method().name, method().start_line)}; }

  kelra_test::RegionScript* script_ = &kelra_test::NewRegionScript();
  KelImageOperation object_;

 private:
  cv::Mat MaskOf(const cv::Mat& image) const {
    cv::Mat mask = cv::Mat::zeros(image.size(), CV_8UC1);
    mask(script_->box).setTo(255);
    return mask;
  }
};

INSTANTIATE_TEST_SUITE_P(, ConstantArithmeticFrame, ::testing::ValuesIn(kConstantMethods),
                         MethodName);

cv::Mat Zeros(const cv::Mat& like) { return cv::Mat::zeros(like.size(), like.type()); }

// Which of the faults the method reports; the others are given at the same time.
struct CheckCase {
  const char* faults;
  bool empty, depth, value, kind;
  KelLong expected;
  KelLong expected_of_multiply;
};

constexpr CheckCase kCheckCases[] = {
    {"none", false, false, false, false, STATUS_OK, STATUS_OK},
    {"value", false, false, true, false, ERR_PARAM_1, ERR_PARAM_1},
    {"kind", false, false, false, true, ERR_ROI_TYPE, ERR_ROI_TYPE},
    {"value, kind", false, false, true, true, ERR_PARAM_1, ERR_ROI_TYPE},
    {"depth", false, true, false, false, ERR_BIT_DEPTH, ERR_BIT_DEPTH},
    {"depth, value", false, true, true, false, ERR_BIT_DEPTH, ERR_BIT_DEPTH},
    {"depth, kind", false, true, false, true, ERR_BIT_DEPTH, ERR_ROI_TYPE},
    {"depth, value, kind", false, true, true, true, ERR_BIT_DEPTH, ERR_ROI_TYPE},
    {"empty", true, false, false, false, ERR_IMAGE_EMPTY, ERR_IMAGE_EMPTY},
    {"empty, value", true, false, true, false, ERR_IMAGE_EMPTY, ERR_IMAGE_EMPTY},
    {"empty, kind", true, false, false, true, ERR_IMAGE_EMPTY, ERR_IMAGE_EMPTY},
    {"empty, depth", true, true, false, false, ERR_IMAGE_EMPTY, ERR_IMAGE_EMPTY},
    {"all", true, true, true, true, ERR_IMAGE_EMPTY, ERR_IMAGE_EMPTY},
};

TEST_P(ConstantArithmeticFrame, TheFirstFailingCheckIsReportedAndNothingElseHappens) {
  const cv::Mat marker = RandomImage(2, 3, CV_8UC1, 9);
  const bool is_multiply = method().operation == kelra_reference::kMultiply;
  for (const int efficiency : {0, 1}) {
    const ScopedSettings settings({.efficiency = efficiency});
    for (const CheckCase& c : kCheckCases) {
      const int depth = c.depth ? CV_16S : CV_8U;
      KelImage src(c.empty ? cv::Mat(0, 10, CV_MAKETYPE(depth, 1))
                           : cv::Mat(6, 9, CV_MAKETYPE(depth, 1), cv::Scalar(40)));
      for (const bool output_given : {true, false}) {
        kelra_test::NewRegionScript();
        RecordedLog log;
        KelImage dst(marker.clone());
        const void* pixels = dst.ImageData();
        const KelLong status = Call(src, c.kind ? KEL_ROI_LINE : KEL_ROI_RECTANGLE,
                                    output_given ? &dst : nullptr, c.value ? 256 : kValue);
        const KelLong expected = is_multiply ? c.expected_of_multiply : c.expected;
        // A missing output is noticed after all checks.
        EXPECT_EQ(status, expected != STATUS_OK || output_given ? expected : ERR_IMAGE_EMPTY)
            << c.faults;
        if (status != STATUS_OK) {
          EXPECT_EQ(dst.ImageData(), pixels) << c.faults;
          EXPECT_TRUE(SameImage(dst.Mat(), marker)) << c.faults;
          EXPECT_EQ(log.Take(), Start()) << c.faults;
          EXPECT_TRUE(kelra_test::RegionCalls().empty()) << c.faults;
        }
      }
    }
  }
}

TEST_P(ConstantArithmeticFrame, EveryEmptyImageIsRefused) {
  const int sizes[] = {2, 3, 4};
  for (const cv::Mat& empty :
       {cv::Mat(), cv::Mat(10, 0, CV_8UC1), cv::Mat(0, 10, CV_8UC1), cv::Mat(3, sizes, CV_8UC1)}) {
    KelImage src(empty);
    KelImage dst;
    EXPECT_EQ(Call(src, KEL_ROI_WHOLE_IMAGE, &dst), ERR_IMAGE_EMPTY);
  }
}

TEST_P(ConstantArithmeticFrame, EveryOtherDepthIsRefused) {
  for (const int depth : {1, 3, 4, 5, 6}) {
    KelImage src(cv::Mat(6, 9, CV_MAKETYPE(depth, 1), cv::Scalar(1)));
    for (const KelROIType kind : {KEL_ROI_WHOLE_IMAGE, KEL_ROI_REGION, KEL_ROI_CIRCLE}) {
      KelImage dst;
      EXPECT_EQ(Call(src, kind, &dst), ERR_BIT_DEPTH) << depth;
    }
  }
}

TEST_P(ConstantArithmeticFrame, KindsWithoutAnAreaAreRefused) {
  for (const KelROIType kind : kRejectedKinds) {
    KelImage src(RandomImage(6, 9, CV_8UC1));
    KelImage dst;
    EXPECT_EQ(Call(src, kind, &dst), ERR_ROI_TYPE) << kind;
    EXPECT_TRUE(dst.Mat().empty());
  }
}

TEST_P(ConstantArithmeticFrame, TheConstantIsASampleValueAndNoDivisorIs0) {
  for (const int type : kelra_test::kPixelTypes) {
    const int largest = CV_MAT_DEPTH(type) == CV_8U ? 255 : 65535;
    const int smallest = method().operation == kelra_reference::kDivide ? 1 : 0;
    for (const int value : {-1, 0, 1, 255, 256, 65535, 65536, INT_MIN, INT_MAX}) {
      KelImage src(RandomImage(6, 9, type));
      KelImage dst;
      EXPECT_EQ(Call(src, KEL_ROI_WHOLE_IMAGE, &dst, value),
                value >= smallest && value <= largest ? STATUS_OK : ERR_PARAM_1)
          << kelra_test::TypeName(type) << ' ' << value;
    }
  }
}

TEST_P(ConstantArithmeticFrame, OtherChannelCountsAreRefusedByTheWork) {
  for (const int type : {CV_8UC2, CV_8UC4, CV_16UC2, CV_16UC4, CV_8UC(9)}) {
    KelImage src(cv::Mat::zeros(6, 9, type));
    for (const KelROIType kind : {KEL_ROI_WHOLE_IMAGE, KEL_ROI_REGION, KEL_ROI_CIRCLE}) {
      RecordedLog log;
      KelImage dst;
      EXPECT_EQ(Call(src, kind, &dst), ERR_CHANNEL_COUNT);
      EXPECT_EQ(log.Take(),
                (std::vector<LogRecord>{StartRecord(method().name, method().start_line),
                                        StartRecord("GreyAndOrOperation2_greyValue", 5424)}));
    }
  }
}

TEST_P(ConstantArithmeticFrame, TheLogOfASuccessfulCall) {
  for (const KelROIType kind :
       {KEL_ROI_RECTANGLE, KEL_ROI_ROTATED_RECTANGLE, KEL_ROI_CIRCLE, KEL_ROI_WHOLE_IMAGE,
        KEL_ROI_ELLIPSE, KEL_ROI_POLYGON, KEL_ROI_ANNULUS, KEL_ROI_REGION}) {
    RecordedLog log;
    KelImage src(RandomImage(6, 9, CV_8UC1));
    KelImage dst;
    ASSERT_EQ(Call(src, kind, &dst), STATUS_OK);
    std::vector<LogRecord> expected = {StartRecord(method().name, method().start_line),
                                       StartRecord("GreyAndOrOperation2_greyValue", 5424),
                                       ExitRecord("GreyAndOrOperation2_greyValue", 5513)};
    if (kind != KEL_ROI_WHOLE_IMAGE && kind != KEL_ROI_REGION) {
      expected.push_back(ExitRecord(method().name, method().exit_line));
    }
    EXPECT_EQ(log.Take(), expected) << kind;
  }
}

enum class Output {
  kUntouched,
  kCopyOfInput,
  kResultOnWholeImage,
  kRestored,  // what the failing restore wrote
};

enum class Step {
  kWholeImageWork,
  kMaskedWork,
  kMask,
  kExtraction,
  kPartWork,
  kRestore,
};

struct FailureCase {
  Step step;
  // Of AddConst, SubtractConst, MultiplyConst, DivideConst.
  Output outputs[4];
};

// Not a typo among them: each method's answer to each failure is relied upon.
constexpr FailureCase kFailureCases[] = {
    {Step::kWholeImageWork,
     {Output::kUntouched, Output::kUntouched, Output::kUntouched, Output::kUntouched}},
    {Step::kMaskedWork,
     {Output::kUntouched, Output::kCopyOfInput, Output::kCopyOfInput, Output::kCopyOfInput}},
    {Step::kMask,
     {Output::kResultOnWholeImage, Output::kCopyOfInput, Output::kCopyOfInput,
      Output::kCopyOfInput}},
    {Step::kExtraction,
     {Output::kUntouched, Output::kCopyOfInput, Output::kCopyOfInput, Output::kCopyOfInput}},
    {Step::kPartWork,
     {Output::kUntouched, Output::kUntouched, Output::kCopyOfInput, Output::kCopyOfInput}},
    {Step::kRestore,
     {Output::kRestored, Output::kUntouched, Output::kCopyOfInput, Output::kCopyOfInput}},
};

constexpr KelLong kRegionFails = 13000077;

TEST_P(ConstantArithmeticFrame, EachFailureHasItsOutputItsLogAndItsStatus) {
  const auto index = static_cast<std::size_t>(method().operation);
  const bool is_multiply = method().operation == kelra_reference::kMultiply;
  const bool binds_on_whole_image = is_multiply || method().operation == kelra_reference::kDivide;
  const cv::Mat marker = RandomImage(2, 3, CV_8UC3, 9);
  const cv::Mat restored = RandomImage(3, 4, CV_8UC1, 10);
  for (const int efficiency : {0, 1}) {
    const ScopedSettings settings({.efficiency = efficiency});
    for (const FailureCase& c : kFailureCases) {
      SCOPED_TRACE(::testing::Message()
                   << "step " << static_cast<int>(c.step) << ", efficiency " << efficiency);
      const bool refused_by_work = c.step == Step::kWholeImageWork || c.step == Step::kMaskedWork;
      script_ = &kelra_test::NewRegionScript();
      KelImage src(refused_by_work ? cv::Mat(6, 9, CV_8UC2, cv::Scalar(5, 6))
                                   : RandomImage(6, 9, CV_8UC1));
      const cv::Mat input = src.Mat().clone();
      std::vector<LogRecord> expected_log = Start();
      KelLong expected_status = refused_by_work ? ERR_CHANNEL_COUNT : kRegionFails;
      KelROIType kind = KEL_ROI_CIRCLE;
      const auto expect_work = [&](bool succeeds) {
        expected_log.push_back(StartRecord("GreyAndOrOperation2_greyValue", 5424));
        if (succeeds) {
          expected_log.push_back(ExitRecord("GreyAndOrOperation2_greyValue", 5513));
        }
      };
      switch (c.step) {
        case Step::kWholeImageWork:
          kind = KEL_ROI_WHOLE_IMAGE;
          expect_work(false);
          break;
        case Step::kMaskedWork:
          kind = KEL_ROI_REGION;
          expect_work(false);
          break;
        case Step::kMask:
          kind = KEL_ROI_REGION;
          script_->mask_status = kRegionFails;
          expect_work(true);
          break;
        case Step::kExtraction:
          script_->extraction_status = kRegionFails;
          break;
        case Step::kPartWork:
          script_->extracted = cv::Mat(3, 4, CV_8UC4, cv::Scalar::all(1));
          expected_status = ERR_CHANNEL_COUNT;
          expect_work(false);
          break;
        case Step::kRestore:
          script_->restore_status = kRegionFails;
          script_->restored = restored;
          expect_work(true);
          if (is_multiply) {
            expected_log.push_back(ExitRecord(method().name, method().exit_line));
          }
          break;
      }
      RecordedLog log;
      KelImage dst(marker.clone());
      EXPECT_EQ(Call(src, kind, &dst), expected_status);
      EXPECT_EQ(log.Take(), expected_log);
      EXPECT_TRUE(SameImage(src.Mat(), input));

      const bool bound =
          efficiency != 0 && (binds_on_whole_image || c.step != Step::kWholeImageWork);
      switch (c.outputs[index]) {
        case Output::kUntouched:
          EXPECT_TRUE(SameImage(dst.Mat(), bound ? Zeros(input) : marker));
          break;
        case Output::kCopyOfInput:
          EXPECT_TRUE(SameImage(dst.Mat(), input));
          EXPECT_NE(dst.ImageData(), src.ImageData());
          break;
        case Output::kResultOnWholeImage:
          EXPECT_TRUE(SameImage(dst.Mat(), WorkOn(input)));
          break;
        case Output::kRestored:
          EXPECT_TRUE(SameImage(dst.Mat(), restored));
          break;
      }
    }
  }
}

TEST_P(ConstantArithmeticFrame, APartThatTheWorkRefusesIsReportedAsTheWorkSays) {
  const struct {
    cv::Mat part;
    KelLong status;
  } cases[] = {
      {cv::Mat(), ERR_IMAGE_EMPTY},
      {cv::Mat(3, 4, CV_8UC2), ERR_CHANNEL_COUNT},
      {cv::Mat(3, 4, CV_32FC1), ERR_BIT_DEPTH},
      {cv::Mat(0, 4, CV_32FC1), ERR_BIT_DEPTH},
      {cv::Mat(0, 4, CV_8UC2), ERR_IMAGE_EMPTY},
  };
  for (const auto& c : cases) {
    script_ = &kelra_test::NewRegionScript();
    script_->extracted = c.part;
    KelImage src(RandomImage(6, 9, CV_8UC1));
    KelImage dst;
    EXPECT_EQ(Call(src, KEL_ROI_CIRCLE, &dst), c.status);
    EXPECT_EQ(kelra_test::RegionCalls().size(), 1U);
  }
}

TEST_P(ConstantArithmeticFrame, TheWholeImageIgnoresTheRegionsGeometry) {
  KelImage src(RandomImage(6, 9, CV_8UC1));
  KelImage dst;
  EXPECT_EQ(Call(src, KEL_ROI_WHOLE_IMAGE, &dst), STATUS_OK);
  EXPECT_TRUE(kelra_test::RegionCalls().empty());
  EXPECT_TRUE(SameImage(dst.Mat(), WorkOn(src.Mat())));
}

// A cut that shares the input's pixels, as a region library may hand out, is only read.
TEST_P(ConstantArithmeticFrame, TheInputStaysWhereTheCutSharesItsPixels) {
  for (const int type : kelra_test::kPixelTypes) {
    script_ = &kelra_test::NewRegionScript();
    KelImage src(RandomImage(6, 9, type));
    const cv::Mat input = src.Mat().clone();
    script_->extracted = src.Mat()(script_->box);
    KelImage dst;
    EXPECT_EQ(Call(src, KEL_ROI_RECTANGLE, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(src.Mat(), input));
    EXPECT_TRUE(SameImage(dst.Mat(), OnPart(input)));
  }
}

class ConstantArithmeticEfficiency : public ConstantArithmeticFrame {
 protected:
  bool BindsOnWholeImage() const {
    return method().operation == kelra_reference::kMultiply ||
           method().operation == kelra_reference::kDivide;
  }

  // A result in the object's own matrix.
  KelImage ResultInBuffer(KelImageOperation* object, const cv::Mat& pixels) {
    KelImage src(pixels);
    KelImage dst;
    EXPECT_EQ(Call(object, src, KEL_ROI_REGION, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), UnderMask(pixels)));
    return dst;
  }

  const cv::Mat first_ = RandomImage(6, 9, CV_8UC1, 1);
  const cv::Mat second_ = RandomImage(6, 9, CV_8UC1, 2);

 private:
  const ScopedSettings settings_{{.efficiency = 1}};
};

INSTANTIATE_TEST_SUITE_P(, ConstantArithmeticEfficiency, ::testing::ValuesIn(kConstantMethods),
                         MethodName);

TEST_P(ConstantArithmeticEfficiency, UnderAMaskAnEarlierOutputShowsTheLaterResult) {
  const KelImage earlier = ResultInBuffer(&object_, first_);
  const KelImage later = ResultInBuffer(&object_, second_);
  EXPECT_EQ(earlier.ImageData(), later.ImageData());
  EXPECT_TRUE(SameImage(earlier.Mat(), UnderMask(second_)));
}

TEST_P(ConstantArithmeticEfficiency, OnTheWholeImageOnlyProductsAndQuotientsShareTheirOutputs) {
  KelImage first(first_);
  KelImage second(second_);
  KelImage earlier;
  KelImage later;
  ASSERT_EQ(Call(first, KEL_ROI_WHOLE_IMAGE, &earlier), STATUS_OK);
  ASSERT_EQ(Call(second, KEL_ROI_WHOLE_IMAGE, &later), STATUS_OK);
  EXPECT_EQ(earlier.ImageData() == later.ImageData(), BindsOnWholeImage());
  EXPECT_TRUE(SameImage(earlier.Mat(), WorkOn(BindsOnWholeImage() ? second_ : first_)));
  EXPECT_TRUE(SameImage(later.Mat(), WorkOn(second_)));
}

TEST_P(ConstantArithmeticEfficiency, SumsOfTheWholeImageLeaveAnEarlierOutputAlone) {
  const KelImage earlier = ResultInBuffer(&object_, first_);
  KelImage second(second_);
  KelImage later;
  ASSERT_EQ(Call(second, KEL_ROI_WHOLE_IMAGE, &later), STATUS_OK);
  EXPECT_TRUE(SameImage(earlier.Mat(), BindsOnWholeImage() ? WorkOn(second_) : UnderMask(first_)));
}

TEST_P(ConstantArithmeticEfficiency, ACutOutRegionClearsAnEarlierOutput) {
  const KelImage earlier = ResultInBuffer(&object_, first_);
  KelImage second(second_);
  KelImage later;
  ASSERT_EQ(Call(second, KEL_ROI_CIRCLE, &later), STATUS_OK);
  EXPECT_NE(later.ImageData(), earlier.ImageData());
  EXPECT_TRUE(SameImage(later.Mat(), OnPart(second_)));
  EXPECT_TRUE(SameImage(earlier.Mat(), Zeros(first_)));
}

TEST_P(ConstantArithmeticEfficiency, AFailingCallClearsAnEarlierOutputToo) {
  const KelImage earlier = ResultInBuffer(&object_, first_);
  script_->extraction_status = kRegionFails;
  KelImage second(second_);
  KelImage later;
  ASSERT_EQ(Call(second, KEL_ROI_CIRCLE, &later), kRegionFails);
  EXPECT_TRUE(SameImage(earlier.Mat(), Zeros(first_)));
}

TEST_P(ConstantArithmeticEfficiency, AFailedCheckLeavesAnEarlierOutputAlone) {
  const KelImage earlier = ResultInBuffer(&object_, first_);
  KelImage second(second_);
  KelImage later;
  EXPECT_EQ(Call(second, KEL_ROI_REGION, &later, -1), ERR_PARAM_1);
  EXPECT_EQ(Call(second, KEL_ROI_LINE, &later), ERR_ROI_TYPE);
  EXPECT_EQ(Call(second, KEL_ROI_REGION, nullptr), ERR_IMAGE_EMPTY);
  EXPECT_TRUE(SameImage(earlier.Mat(), UnderMask(first_)));
}

TEST_P(ConstantArithmeticEfficiency, ResultsOfAnotherSizeOrTypeHaveNewPixels) {
  for (const cv::Mat& other : {RandomImage(5, 9, CV_8UC1, 3), RandomImage(6, 10, CV_8UC1, 3),
                               RandomImage(6, 9, CV_16UC1, 3), RandomImage(6, 9, CV_8UC3, 3),
                               RandomImage(6, 9, CV_16UC3, 3)}) {
    KelImageOperation object;
    const KelImage earlier = ResultInBuffer(&object, first_);
    const KelImage later = ResultInBuffer(&object, other);
    EXPECT_NE(earlier.ImageData(), later.ImageData());
    EXPECT_TRUE(SameImage(earlier.Mat(), UnderMask(first_)));
    const KelImage back = ResultInBuffer(&object, second_);
    EXPECT_TRUE(SameImage(later.Mat(), UnderMask(other)));
    EXPECT_TRUE(SameImage(back.Mat(), UnderMask(second_)));
  }
}

TEST_P(ConstantArithmeticEfficiency, DifferentObjectsShareNothing) {
  KelImageOperation other;
  const KelImage of_this = ResultInBuffer(&object_, first_);
  const KelImage of_other = ResultInBuffer(&other, second_);
  EXPECT_NE(of_this.ImageData(), of_other.ImageData());
  EXPECT_TRUE(SameImage(of_this.Mat(), UnderMask(first_)));
}

TEST_P(ConstantArithmeticEfficiency, CopiesShareTheMatrixAlsoWhenItIsMadeAnew) {
  const cv::Mat larger = RandomImage(7, 11, CV_16UC3, 4);
  for (const bool assigned : {true, false}) {
    auto original = std::make_unique<KelImageOperation>();
    std::unique_ptr<KelImageOperation> copy;
    if (assigned) {
      copy = std::make_unique<KelImageOperation>();
      EXPECT_EQ(&(*copy = *original), copy.get());
    } else {
      copy = std::make_unique<KelImageOperation>(*original);
    }
    const KelImage of_original = ResultInBuffer(original.get(), first_);
    const KelImage of_copy = ResultInBuffer(copy.get(), second_);
    EXPECT_EQ(of_original.ImageData(), of_copy.ImageData());

    const KelImage larger_of_original = ResultInBuffer(original.get(), larger);
    const KelImage larger_of_copy = ResultInBuffer(copy.get(), larger);
    EXPECT_EQ(larger_of_original.ImageData(), larger_of_copy.ImageData());

    original.reset();
    const KelImage after = ResultInBuffer(copy.get(), larger);
    EXPECT_EQ(after.ImageData(), larger_of_original.ImageData());
    copy.reset();
    EXPECT_TRUE(SameImage(after.Mat(), UnderMask(larger)));
  }
}

TEST_P(ConstantArithmeticEfficiency, AnObjectMayBeAssignedToItself) {
  const KelImage earlier = ResultInBuffer(&object_, first_);
  KelImageOperation& same = object_;
  object_ = same;
  EXPECT_EQ(ResultInBuffer(&object_, second_).ImageData(), earlier.ImageData());
}

TEST_P(ConstantArithmeticEfficiency, AnInputThatIsAnEarlierOutputKeepsItsPixels) {
  for (const KelROIType kind : {KEL_ROI_WHOLE_IMAGE, KEL_ROI_REGION, KEL_ROI_CIRCLE}) {
    KelImageOperation object;
    KelImage earlier = ResultInBuffer(&object, first_);
    const cv::Mat pixels = earlier.Mat().clone();
    KelImage later;
    ASSERT_EQ(Call(&object, earlier, kind, &later), STATUS_OK);
    EXPECT_TRUE(SameImage(earlier.Mat(), pixels));
    const cv::Mat expected = kind == KEL_ROI_WHOLE_IMAGE ? WorkOn(pixels)
                             : kind == KEL_ROI_REGION    ? UnderMask(pixels)
                                                         : OnPart(pixels);
    EXPECT_TRUE(SameImage(later.Mat(), expected)) << kind;
  }
}

TEST_P(ConstantArithmeticEfficiency, APartOfAnEarlierOutputAsInputKeepsItsPixels) {
  const KelImage earlier = ResultInBuffer(&object_, RandomImage(8, 12, CV_8UC1, 7));
  KelImage part(earlier.Mat()(cv::Rect(2, 1, 9, 6)));
  const cv::Mat pixels = part.Mat().clone();
  KelImage later;
  ASSERT_EQ(Call(part, KEL_ROI_REGION, &later), STATUS_OK);
  EXPECT_TRUE(SameImage(part.Mat(), pixels));
  EXPECT_TRUE(SameImage(later.Mat(), UnderMask(pixels)));
}

TEST_P(ConstantArithmeticEfficiency, TheOutputMayBeTheInput) {
  for (const KelROIType kind : {KEL_ROI_WHOLE_IMAGE, KEL_ROI_REGION, KEL_ROI_CIRCLE}) {
    KelImageOperation object;
    KelImage image = ResultInBuffer(&object, first_);
    for (int round = 0; round < 3; ++round) {
      const cv::Mat pixels = image.Mat().clone();
      ASSERT_EQ(Call(&object, image, kind, &image), STATUS_OK);
      const cv::Mat expected = kind == KEL_ROI_WHOLE_IMAGE ? WorkOn(pixels)
                               : kind == KEL_ROI_REGION    ? UnderMask(pixels)
                                                           : OnPart(pixels);
      EXPECT_TRUE(SameImage(image.Mat(), expected)) << kind << ", round " << round;
    }
  }
}

TEST_P(ConstantArithmeticEfficiency, AnyValueButZeroTurnsItOn) {
  for (const int efficiency : {-1, 2, INT_MIN, INT_MAX}) {
    const ScopedSettings settings({.efficiency = efficiency});
    KelImageOperation object;
    EXPECT_EQ(ResultInBuffer(&object, first_).ImageData(),
              ResultInBuffer(&object, second_).ImageData());
  }
  const ScopedSettings off(kelra_test::FakeSettings{});
  KelImageOperation object;
  const KelImage earlier = ResultInBuffer(&object, first_);
  EXPECT_NE(ResultInBuffer(&object, second_).ImageData(), earlier.ImageData());
}

}  // namespace
}  // namespace KELRA
