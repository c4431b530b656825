#include "frame/call_frame.h"

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <utility>
#include <vector>

#include "fake_settings.h"
#include "frame/kept_memory.h"
#include "frame/load_time_state.h"
#include "recorded_log.h"
#include "region_of_interest.h"
#include "scripted_regions.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::BytesOf;
using kelra_test::ExitRecord;
using kelra_test::LogRecord;
using kelra_test::RandomImage;
using kelra_test::RecordedLog;
using kelra_test::RegionCall;
using kelra_test::RegionCalls;
using kelra_test::SameImage;
using kelra_test::ScopedSettings;
using kelra_test::StartRecord;

constexpr LogLines kLines{"Method", 10, 20};

constexpr KelROIType kExtractedKinds[] = {KEL_ROI_RECTANGLE, KEL_ROI_ROTATED_RECTANGLE,
                                          KEL_ROI_CIRCLE,    KEL_ROI_ELLIPSE,
                                          KEL_ROI_POLYGON,   KEL_ROI_ANNULUS};

constexpr KelLong kWorkFails = 501;
constexpr KelLong kRegionFails = 502;

std::vector<Fallback> AllFallbacks() {
  std::vector<Fallback> all;
  for (unsigned set = 0; set <= static_cast<unsigned>(Fallback::kAlways); ++set) {
    all.push_back(static_cast<Fallback>(set));
  }
  return all;
}

constexpr AfterRestore kAllAfterRestore[] = {
    AfterRestore::kAssignAndLogOnSuccess, AfterRestore::kAssignAndLogAlways,
    AfterRestore::kOnlyOnSuccess, AfterRestore::kIgnoreStatus};

cv::Mat Inverted(const cv::Mat& image) {
  cv::Mat inverted;
  cv::bitwise_not(image, inverted);
  return inverted;
}

const auto Invert = [](const KelImage& in, KelImage* out) -> Status {
  out->Mat() = Inverted(in.Mat());
  return STATUS_OK;
};

const auto InvertInPlace = [](const KelImage& in, KelImage* out) -> Status {
  cv::bitwise_not(in.Mat(), out->Mat());
  return STATUS_OK;
};

const auto FailToWork = [](const KelImage&, KelImage*) -> Status { return kWorkFails; };

class CallFrameTest : public ::testing::Test {
 protected:
  KelLong Run(const FramePolicy& policy, KelROIType kind, CallFrame::Work work) {
    return Run(policy, kind, &src_, &dst_, work);
  }

  KelLong Run(const FramePolicy& policy, KelROI roi, CallFrame::Work work) {
    CallFrame frame(policy, &buffer_);
    return frame.Run(src_, roi, &dst_, work);
  }

  KelLong Run(const FramePolicy& policy, KelROIType kind, KelImage* src, KelImage* dst,
              CallFrame::Work work) {
    CallFrame frame(policy, &buffer_);
    KelROI roi(kind);
    return frame.Run(*src, roi, dst, work);
  }

  void StartOver() {
    script_ = &kelra_test::NewRegionScript();
    dst_ = KelImage(marker_.clone());
    log_.Take();
  }

  bool OutputIsUntouched() const { return SameImage(dst_.Mat(), marker_); }
  bool OutputIsCopyOfInput() const {
    return SameImage(dst_.Mat(), src_.Mat()) && dst_.ImageData() != src_.ImageData();
  }

  const cv::Mat pixels_ = RandomImage(6, 9, CV_8UC1);
  const cv::Mat marker_ = RandomImage(2, 3, CV_16UC1, 2);
  KelImage src_{pixels_.clone()};
  KelImage dst_{marker_.clone()};
  cv::Mat buffer_;
  RecordedLog log_;
  kelra_test::RegionScript* script_ = &kelra_test::NewRegionScript();
};

const std::vector<LogRecord> kStartOnly = {StartRecord("Method", 10)};
const std::vector<LogRecord> kStartAndExit = {StartRecord("Method", 10), ExitRecord("Method", 20)};

TEST_F(CallFrameTest, TheLoggerLivesAsLongAsTheFrame) {
  ASSERT_EQ(kelra_test::OpenLoggers(), 0);
  {
    const FramePolicy policy{.lines = kLines};
    const CallFrame frame(policy);
    EXPECT_EQ(kelra_test::OpenLoggers(), 1);
    EXPECT_EQ(log_.Take(), kStartOnly);
  }
  EXPECT_EQ(kelra_test::OpenLoggers(), 0);
  EXPECT_TRUE(log_.Take().empty());
}

TEST_F(CallFrameTest, WithoutAnOutputTheImageIsEmptyAndNothingIsDone) {
  const FramePolicy policy{.lines = kLines, .bind_buffer = BindBuffer::kAlways};
  for (const KelROIType kind : {KEL_ROI_WHOLE_IMAGE, KEL_ROI_REGION, KEL_ROI_CIRCLE}) {
    StartOver();
    int calls = 0;
    EXPECT_EQ(Run(policy, kind, &src_, nullptr,
                  [&](const KelImage&, KelImage*) {
                    ++calls;
                    return Status(STATUS_OK);
                  }),
              ERR_IMAGE_EMPTY);
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(RegionCalls().empty());
    EXPECT_EQ(log_.Take(), kStartOnly);
  }
}

TEST_F(CallFrameTest, TheWholeImageIsWorkedOnWithoutAskingForRegions) {
  for (const AfterRestore after : kAllAfterRestore) {
    StartOver();
    const FramePolicy policy{.lines = kLines, .after_restore = after};
    EXPECT_EQ(Run(policy, KEL_ROI_WHOLE_IMAGE, Invert), STATUS_OK);
    EXPECT_TRUE(SameImage(dst_.Mat(), Inverted(pixels_)));
    EXPECT_TRUE(RegionCalls().empty());
    EXPECT_EQ(log_.Take(), kStartOnly);
  }
}

TEST_F(CallFrameTest, OnTheWholeImageThereIsNeverAFallback) {
  for (const Fallback fallback : AllFallbacks()) {
    StartOver();
    const FramePolicy policy{.lines = kLines, .fallback = fallback};
    EXPECT_EQ(Run(policy, KEL_ROI_WHOLE_IMAGE, FailToWork), kWorkFails);
    EXPECT_TRUE(OutputIsUntouched());
    EXPECT_EQ(log_.Take(), kStartOnly);
  }
}

TEST_F(CallFrameTest, UnderAMaskTheInputComesBackOutside) {
  for (const AfterRestore after : kAllAfterRestore) {
    StartOver();
    const FramePolicy policy{.lines = kLines, .after_restore = after};
    EXPECT_EQ(Run(policy, KEL_ROI_REGION, Invert), STATUS_OK);
    cv::Mat expected = pixels_.clone();
    Inverted(pixels_(script_->box)).copyTo(expected(script_->box));
    EXPECT_TRUE(SameImage(dst_.Mat(), expected));
    EXPECT_EQ(log_.Take(), kStartOnly);
  }
}

TEST_F(CallFrameTest, TheMaskIsAskedForOnceFilledAndNotInverted) {
  const FramePolicy policy{.lines = kLines};
  EXPECT_EQ(Run(policy, KEL_ROI_REGION, Invert), STATUS_OK);
  ASSERT_EQ(RegionCalls().size(), 1U);
  const RegionCall& call = RegionCalls()[0];
  EXPECT_EQ(call.name, "GenMaskImage");
  EXPECT_EQ(call.converter, &RegionConverter());
  EXPECT_EQ(call.kind, KEL_ROI_REGION);
  EXPECT_EQ(call.image.data, src_.Mat().data);
  EXPECT_EQ(call.constants, (std::vector<double>{1, 0}));
  // That it is only read: the region library may give one that others hold too.
  EXPECT_EQ(call.out.data, nullptr);
  EXPECT_EQ(call.out.size(), cv::Size(src_.Width(), 0));
  EXPECT_EQ(call.out.type(), CV_8UC1);
}

TEST_F(CallFrameTest, TheMaskMayBeMadeFromAConstantImage) {
  const FramePolicy policy{.lines = kLines, .mask_template = MaskTemplate::kConstantImage};
  src_ = KelImage(RandomImage(6, 9, CV_16UC3));
  EXPECT_EQ(Run(policy, KEL_ROI_REGION, Invert), STATUS_OK);
  ASSERT_EQ(RegionCalls().size(), 1U);
  EXPECT_TRUE(SameImage(RegionCalls()[0].image, cv::Mat(6, 9, CV_8UC1, cv::Scalar(255))));
}

TEST_F(CallFrameTest, TheConstantImageOfTheLastCallIsUsedAgainWhereItFits) {
  const FramePolicy policy{.lines = kLines, .mask_template = MaskTemplate::kConstantImage};
  const cv::Mat expected(src_.Height(), src_.Width(), CV_8UC1, cv::Scalar(255));
  for (const cv::Size more : {cv::Size(0, 0), cv::Size(0, 3), cv::Size(1, 0), cv::Size(0, -1)}) {
    StartOver();
    cv::Mat kept(expected.size() + more, CV_8UC1, cv::Scalar(255));
    const void* memory = kept.data;
    Keep(KeptFor::kConstantImage, std::move(kept));
    EXPECT_EQ(Run(policy, KEL_ROI_REGION, Invert), STATUS_OK);
    ASSERT_EQ(RegionCalls().size(), 1U);
    EXPECT_TRUE(SameImage(RegionCalls()[0].image, expected));
    const bool fits = more.width == 0 && more.height >= 0;
    EXPECT_EQ(RegionCalls()[0].image.data == memory, fits) << more;
  }
}

TEST_F(CallFrameTest, UnderAMaskAFailureOfTheWorkFallsBackAsThePolicySays) {
  for (const Fallback fallback : AllFallbacks()) {
    StartOver();
    const FramePolicy policy{.lines = kLines, .fallback = fallback};
    EXPECT_EQ(Run(policy, KEL_ROI_REGION, FailToWork), kWorkFails);
    const bool falls_back = Includes(fallback, Fallback::kMaskedWork);
    EXPECT_EQ(OutputIsCopyOfInput(), falls_back);
    EXPECT_EQ(OutputIsUntouched(), !falls_back);
    EXPECT_TRUE(RegionCalls().empty());
    EXPECT_EQ(log_.Take(), kStartOnly);
  }
}

TEST_F(CallFrameTest, AFailureOfTheMaskFallsBackAsThePolicySays) {
  for (const Fallback fallback : AllFallbacks()) {
    StartOver();
    script_->mask_status = kRegionFails;
    const FramePolicy policy{.lines = kLines, .fallback = fallback};
    EXPECT_EQ(Run(policy, KEL_ROI_REGION, Invert), kRegionFails);
    if (Includes(fallback, Fallback::kMask)) {
      EXPECT_TRUE(OutputIsCopyOfInput());
    } else {
      EXPECT_TRUE(SameImage(dst_.Mat(), Inverted(pixels_)));
    }
    EXPECT_EQ(log_.Take(), kStartOnly);
  }
}

// A region with runs in the rows 2 and 3 of 6.
KelROI RegionInTwoRows() {
  KelRegion region(9, 6);
  region.Append({2, 1, 5});
  region.Append({3, 2, 4});
  return KelROI::Region(region);
}

// Logs as pixel work does, and tells how many rows it was given.
struct CountingWork {
  static constexpr LogLines kLines{"Work", 30, 40};
  std::vector<int>* rows;

  Status operator()(const KelImage& in, KelImage* out) const {
    CallLog log(kLines);
    rows->push_back(in.Height());
    out->Mat() = Inverted(in.Mat());
    log.Exit();
    return STATUS_OK;
  }
};

const std::vector<LogRecord> kStartAndWork = {StartRecord("Method", 10), StartRecord("Work", 30),
                                              ExitRecord("Work", 40)};

// An image of so many bytes that leaving rows out is worth it.
class RowsOfRunsTest : public CallFrameTest {
 protected:
  RowsOfRunsTest() { src_ = KelImage(wide_.clone()); }

  cv::Mat InvertedInBox() const {
    cv::Mat expected = wide_.clone();
    Inverted(wide_(script_->box)).copyTo(expected(script_->box));
    return expected;
  }

  const cv::Mat wide_ = RandomImage(6, 4000, CV_8UC1);
};

TEST_F(RowsOfRunsTest, UnderAMaskOnlyTheRowsWithRunsAreWorkedOn) {
  const FramePolicy policy{.lines = kLines};
  for (const bool own_matrix : {false, true}) {
    StartOver();
    script_->box = cv::Rect(1, 2, 5, 2);
    dst_ = KelImage(own_matrix ? RandomImage(6, 4000, CV_8UC1, 4) : marker_.clone());
    const void* own = dst_.ImageData();
    std::vector<int> rows;
    EXPECT_EQ(Run(policy, RegionInTwoRows(), CountingWork{&rows}), STATUS_OK);
    EXPECT_EQ(rows, (std::vector<int>{2}));
    EXPECT_TRUE(SameImage(dst_.Mat(), InvertedInBox()));
    EXPECT_EQ(dst_.ImageData() == own, own_matrix);
    EXPECT_EQ(log_.Take(), kStartAndWork);
  }
}

TEST_F(RowsOfRunsTest, AMaskThatCoversMoreThanTheRunsDecides) {
  const FramePolicy policy{.lines = kLines};
  script_->box = cv::Rect(0, 0, 3, 6);
  std::vector<int> rows;
  EXPECT_EQ(Run(policy, RegionInTwoRows(), CountingWork{&rows}), STATUS_OK);
  EXPECT_EQ(rows, (std::vector<int>{2, 6}));
  EXPECT_TRUE(SameImage(dst_.Mat(), InvertedInBox()));
  EXPECT_EQ(log_.Take(), kStartAndWork);
}

TEST_F(RowsOfRunsTest, WithoutAMaskTheOutputShowsTheWorkOnAllRows) {
  const FramePolicy policy{.lines = kLines, .fallback = Fallback::kNever};
  script_->mask_status = kRegionFails;
  std::vector<int> rows;
  EXPECT_EQ(Run(policy, RegionInTwoRows(), CountingWork{&rows}), kRegionFails);
  EXPECT_TRUE(SameImage(dst_.Mat(), Inverted(wide_)));
  EXPECT_EQ(log_.Take(), kStartAndWork);
}

TEST_F(CallFrameTest, OfASmallImageAllRowsAreWorkedOn) {
  const FramePolicy policy{.lines = kLines};
  script_->box = cv::Rect(1, 2, 5, 2);
  std::vector<int> rows;
  EXPECT_EQ(Run(policy, RegionInTwoRows(), CountingWork{&rows}), STATUS_OK);
  EXPECT_EQ(rows, (std::vector<int>{6}));
}

TEST_F(CallFrameTest, AMaskOfAnotherSizeIsRefusedByAnException) {
  const FramePolicy policy{.lines = kLines};
  for (const cv::Size size : {cv::Size(9, 7), cv::Size(8, 6), cv::Size(1, 1)}) {
    StartOver();
    script_->mask = cv::Mat(size, CV_8UC1, cv::Scalar(255));
    std::vector<int> rows;
    EXPECT_THROW((void)Run(policy, RegionInTwoRows(), CountingWork{&rows}), cv::Exception);
  }
}

TEST_F(CallFrameTest, OtherKindsAreCutOutAndPutBack) {
  for (const KelROIType kind : kExtractedKinds) {
    for (const AfterRestore after : kAllAfterRestore) {
      StartOver();
      const FramePolicy policy{.lines = kLines, .after_restore = after};
      EXPECT_EQ(Run(policy, kind, Invert), STATUS_OK);
      cv::Mat expected = pixels_.clone();
      Inverted(pixels_(script_->box)).copyTo(expected(script_->box));
      EXPECT_TRUE(SameImage(dst_.Mat(), expected));
      EXPECT_EQ(log_.Take(), kStartAndExit);

      ASSERT_EQ(RegionCalls().size(), 2U);
      const RegionCall& cut = RegionCalls()[0];
      EXPECT_EQ(cut.name, "ROIImageExtraction");
      EXPECT_EQ(cut.converter, &RegionConverter());
      EXPECT_EQ(cut.kind, kind);
      EXPECT_EQ(cut.image.data, src_.Mat().data);
      EXPECT_EQ(cut.constants, (std::vector<double>{1, 0}));
      const RegionCall& restore = RegionCalls()[1];
      EXPECT_EQ(restore.name, "ROIImageRestore");
      EXPECT_EQ(restore.converter, &RegionConverter());
      EXPECT_EQ(restore.kind, kind);
      EXPECT_EQ(restore.image.data, src_.Mat().data);
      EXPECT_TRUE(SameImage(restore.part, Inverted(pixels_(script_->box))));
      EXPECT_EQ(restore.constants, (std::vector<double>{1}));
    }
  }
}

TEST_F(CallFrameTest, AFailureOfTheExtractionFallsBackAsThePolicySays) {
  for (const Fallback fallback : AllFallbacks()) {
    StartOver();
    script_->extraction_status = kRegionFails;
    const FramePolicy policy{.lines = kLines, .fallback = fallback};
    EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, Invert), kRegionFails);
    const bool falls_back = Includes(fallback, Fallback::kExtraction);
    EXPECT_EQ(OutputIsCopyOfInput(), falls_back);
    EXPECT_EQ(OutputIsUntouched(), !falls_back);
    EXPECT_EQ(RegionCalls().size(), 1U);
    EXPECT_EQ(log_.Take(), kStartOnly);
  }
}

TEST_F(CallFrameTest, AFailureOfTheWorkOnThePartFallsBackAsThePolicySays) {
  for (const Fallback fallback : AllFallbacks()) {
    StartOver();
    const FramePolicy policy{.lines = kLines, .fallback = fallback};
    EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, FailToWork), kWorkFails);
    const bool falls_back = Includes(fallback, Fallback::kPartWork);
    EXPECT_EQ(OutputIsCopyOfInput(), falls_back);
    EXPECT_EQ(OutputIsUntouched(), !falls_back);
    EXPECT_EQ(RegionCalls().size(), 1U);
    EXPECT_EQ(log_.Take(), kStartOnly);
  }
}

TEST_F(CallFrameTest, AfterAFailedRestoreThePolicyDecidesOnOutputLogAndStatus) {
  const struct {
    AfterRestore after;
    bool assigned, logged, counts_as_success;
  } cases[] = {
      {AfterRestore::kAssignAndLogOnSuccess, true, false, false},
      {AfterRestore::kAssignAndLogAlways, true, true, false},
      {AfterRestore::kOnlyOnSuccess, false, false, false},
      {AfterRestore::kIgnoreStatus, true, true, true},
  };
  const cv::Mat half_restored = RandomImage(3, 3, CV_8UC1, 8);
  for (const auto& c : cases) {
    for (const Fallback fallback : AllFallbacks()) {
      StartOver();
      script_->restore_status = kRegionFails;
      script_->restored = half_restored;
      const FramePolicy policy{.lines = kLines, .fallback = fallback, .after_restore = c.after};
      EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, Invert),
                c.counts_as_success ? STATUS_OK : kRegionFails);
      if (!c.counts_as_success && Includes(fallback, Fallback::kRestore)) {
        EXPECT_TRUE(OutputIsCopyOfInput());
      } else if (c.assigned) {
        EXPECT_TRUE(SameImage(dst_.Mat(), half_restored));
      } else {
        EXPECT_TRUE(OutputIsUntouched());
      }
      EXPECT_EQ(log_.Take(), c.logged ? kStartAndExit : kStartOnly);
    }
  }
}

TEST_F(CallFrameTest, ARestoreThatWroteNothingLeavesAnEmptyOutput) {
  for (const bool output_fits : {false, true}) {
    StartOver();
    dst_ = KelImage(output_fits ? RandomImage(6, 9, CV_8UC1, 4) : marker_.clone());
    script_->restore_status = kRegionFails;
    const FramePolicy policy{.lines = kLines, .fallback = Fallback::kNever};
    EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, Invert), kRegionFails);
    EXPECT_TRUE(dst_.Mat().empty());
  }
}

// The region library may write it: making a large matrix takes longer than filling it.
TEST_F(CallFrameTest, ARestoreIsGivenTheOutputsOwnMatrixUnlessAFailureMustLeaveIt) {
  for (const AfterRestore after : kAllAfterRestore) {
    StartOver();
    dst_ = KelImage(RandomImage(6, 9, CV_8UC1, 4));
    const void* own = dst_.ImageData();
    const FramePolicy policy{.lines = kLines, .after_restore = after};
    EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, Invert), STATUS_OK);
    const bool given = after != AfterRestore::kOnlyOnSuccess;
    EXPECT_EQ(RegionCalls().at(1).out.data == own, given);
  }
}

TEST_F(CallFrameTest, WhereAFailureMustLeaveTheOutputARestoreIsGivenTheOneBefore) {
  const FramePolicy policy{.lines = kLines, .after_restore = AfterRestore::kOnlyOnSuccess};
  StartOver();
  dst_ = KelImage(RandomImage(6, 9, CV_8UC1, 4));
  const void* before = dst_.ImageData();
  EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, Invert), STATUS_OK);
  script_ = &kelra_test::NewRegionScript();
  script_->extracted = src_.Mat()(script_->box);
  EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, InvertInPlace), STATUS_OK);
  EXPECT_EQ(RegionCalls().at(1).out.data, before);
  cv::Mat expected = pixels_.clone();
  Inverted(pixels_(script_->box)).copyTo(expected(script_->box));
  EXPECT_TRUE(SameImage(dst_.Mat(), expected));
}

TEST_F(CallFrameTest, ARestoreIsGivenNoMatrixThatDoesNotFitOrIsStillRead) {
  const FramePolicy policy{.lines = kLines};
  const cv::Mat held = RandomImage(6, 9, CV_8UC1);
  cv::Mat memory_of_others = RandomImage(6, 9, CV_8UC1);
  const std::function<cv::Mat()> others[] = {
      [] { return cv::Mat(); },
      [] { return RandomImage(6, 8, CV_8UC1); },
      [] { return RandomImage(6, 9, CV_16UC1); },
      [] { return RandomImage(6, 9, CV_8UC3); },
      [&] { return src_.Mat(); },
      [&] { return held; },
      [&] { return cv::Mat(6, 9, CV_8UC1, memory_of_others.data); },
  };
  for (const auto& other : others) {
    StartOver();
    dst_ = KelImage(other());
    EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, Invert), STATUS_OK);
    EXPECT_EQ(RegionCalls().at(1).out.data, nullptr);
  }
  StartOver();
  dst_ = KelImage(RandomImage(6, 9, CV_8UC1, 4));
  KelImage on_the_output(cv::Mat(6, 9, CV_8UC1, dst_.ImageData()));
  EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, &on_the_output, &dst_, Invert), STATUS_OK);
  EXPECT_EQ(RegionCalls().at(1).out.data, nullptr);
  StartOver();
  const ScopedSettings settings({.efficiency = 1});
  const FramePolicy bound{.lines = kLines, .bind_buffer = BindBuffer::kAlways};
  EXPECT_EQ(Run(bound, KEL_ROI_CIRCLE, Invert), STATUS_OK);
  EXPECT_EQ(RegionCalls().at(1).out.data, nullptr);
}

// What lies around the region in a cut-out may be anything where it decides about no pixel inside.
TEST_F(CallFrameTest, APartOfTheInputIsAskedForWherePixelsAreReadOneByOne) {
  for (const Reads reads : {Reads::kSamePixel, Reads::kSameRow}) {
    StartOver();
    const FramePolicy policy{.lines = kLines, .reads = reads};
    EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, Invert), STATUS_OK);
    const cv::Mat& out = RegionCalls().at(0).out;
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(out.data == src_.Mat().data, reads == Reads::kSamePixel);
  }
}

TEST_F(CallFrameTest, APartOfTheInputIsWorkedOnFromTheInputToTheOutput) {
  for (const AfterRestore after : kAllAfterRestore) {
    for (const bool output_fits : {false, true}) {
      StartOver();
      script_->extracted = src_.Mat()(script_->box);
      dst_ = KelImage(output_fits ? RandomImage(6, 9, CV_8UC1, 4) : marker_.clone());
      const std::uint8_t* own =
          output_fits ? dst_.Mat().ptr(script_->box.y, script_->box.x) : nullptr;
      const FramePolicy policy{.lines = kLines, .after_restore = after};
      EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, InvertInPlace), STATUS_OK);
      cv::Mat expected = pixels_.clone();
      Inverted(pixels_(script_->box)).copyTo(expected(script_->box));
      EXPECT_TRUE(SameImage(dst_.Mat(), expected));
      EXPECT_TRUE(SameImage(src_.Mat(), pixels_));
      const RegionCall& restore = RegionCalls().at(1);
      EXPECT_EQ(restore.part.data == own, output_fits && after != AfterRestore::kOnlyOnSuccess);
      EXPECT_EQ(restore.part.step[0], 9U);
      EXPECT_EQ(restore.part.data - restore.out.data, script_->box.y * 9 + script_->box.x);
      EXPECT_EQ(restore.out.rows, 0);
    }
  }
}

TEST_F(CallFrameTest, AFailureOnAPartOfTheInputLeavesWhatThePolicySays) {
  for (const AfterRestore after : kAllAfterRestore) {
    for (const bool work_fails : {false, true}) {
      StartOver();
      script_->extracted = src_.Mat()(script_->box);
      script_->restore_status = kRegionFails;
      const cv::Mat before = RandomImage(6, 9, CV_8UC1, 4);
      dst_ = KelImage(before.clone());
      const FramePolicy policy{
          .lines = kLines, .fallback = Fallback::kNever, .after_restore = after};
      const KelLong status = work_fails ? Run(policy, KEL_ROI_CIRCLE, FailToWork)
                                        : Run(policy, KEL_ROI_CIRCLE, InvertInPlace);
      const bool ignored = after == AfterRestore::kIgnoreStatus;
      EXPECT_EQ(status, work_fails ? kWorkFails : ignored ? KelLong{STATUS_OK} : kRegionFails);
      const bool untouched = work_fails || after == AfterRestore::kOnlyOnSuccess;
      EXPECT_EQ(SameImage(dst_.Mat(), before), untouched);
      EXPECT_EQ(dst_.Mat().empty(), !untouched);
      EXPECT_TRUE(SameImage(src_.Mat(), pixels_));
    }
  }
}

// A cut-out of the input's type that lies elsewhere, or across the end of its rows, is none.
TEST_F(CallFrameTest, OtherMatricesAreNotTakenForAPartOfTheInput) {
  const cv::Mat canvas = RandomImage(6, 12, CV_8UC1);
  for (const cv::Mat& cut :
       {RandomImage(3, 5, CV_8UC1, 7), canvas(cv::Rect(9, 1, 3, 2)), canvas(cv::Rect(7, 1, 5, 3)),
        cv::Mat(3, 2, CV_16UC1, canvas.data, canvas.step[0]), canvas(cv::Rect(2, 4, 5, 2))}) {
    StartOver();
    script_->box = cv::Rect(0, 0, cut.cols, cut.rows);
    script_->extracted = cut;
    script_->restored = RandomImage(6, 9, CV_8UC1, 8);
    KelImage src(canvas(cv::Rect(0, 0, 9, 5)));
    dst_ = KelImage(RandomImage(5, 9, CV_8UC1, 4));
    const FramePolicy policy{.lines = kLines};
    EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, &src, &dst_, InvertInPlace), STATUS_OK);
    EXPECT_TRUE(SameImage(RegionCalls().at(1).part, Inverted(cut)));
    EXPECT_TRUE(RegionCalls().at(1).part.isContinuous());
  }
}

// The status of the work tells whether the output shares the buffer, and that it was cleared.
TEST_F(CallFrameTest, TheBufferIsBoundWhenThePolicySaysInEfficiencyModeOnly) {
  const struct {
    BindBuffer bind;
    bool whole, masked, part;
  } cases[] = {
      {BindBuffer::kNever, false, false, false},
      {BindBuffer::kUnlessWholeImage, false, true, true},
      {BindBuffer::kAlways, true, true, true},
      {BindBuffer::kBeforeRegionCheck, false, false, false},
  };
  for (const int efficiency : {0, 1, -1, 7}) {
    const ScopedSettings settings({.efficiency = efficiency});
    for (const auto& c : cases) {
      const struct {
        KelROIType kind;
        bool bound;
      } paths[] = {
          {KEL_ROI_WHOLE_IMAGE, c.whole}, {KEL_ROI_REGION, c.masked}, {KEL_ROI_CIRCLE, c.part}};
      for (const auto& path : paths) {
        StartOver();
        buffer_ = RandomImage(6, 9, CV_8UC1, 5);
        const cv::Mat before = buffer_.clone();
        const FramePolicy policy{
            .lines = kLines, .bind_buffer = c.bind, .fallback = Fallback::kNever};
        EXPECT_EQ(Run(policy, path.kind, FailToWork), kWorkFails);
        const bool bound = path.bound && efficiency != 0;
        EXPECT_EQ(dst_.ImageData() == buffer_.data, bound);
        EXPECT_EQ(OutputIsUntouched(), !bound);
        EXPECT_TRUE(SameImage(buffer_, bound ? cv::Mat(cv::Mat::zeros(6, 9, CV_8UC1)) : before));
      }
    }
  }
}

TEST_F(CallFrameTest, AMethodMayBindTheBufferBeforeItsLastCheck) {
  const ScopedSettings settings({.efficiency = 1});
  const FramePolicy policy{.lines = kLines, .bind_buffer = BindBuffer::kBeforeRegionCheck};
  {
    CallFrame frame(policy, &buffer_);
    frame.BindBufferNow(src_, &dst_);
    EXPECT_EQ(dst_.ImageData(), buffer_.data);
  }
  EXPECT_TRUE(SameImage(dst_.Mat(), cv::Mat::zeros(6, 9, CV_8UC1)));

  CallFrame frame(policy, &buffer_);
  frame.BindBufferNow(src_, &dst_);
  KelROI roi = KelROI::WholeImage();
  EXPECT_EQ(frame.Run(src_, roi, &dst_, InvertInPlace), STATUS_OK);
  EXPECT_EQ(dst_.ImageData(), buffer_.data);
  EXPECT_TRUE(SameImage(dst_.Mat(), Inverted(pixels_)));
}

TEST_F(CallFrameTest, WithoutABufferEfficiencyModeIsOff) {
  const ScopedSettings settings({.efficiency = 1});
  const FramePolicy policy{.lines = kLines, .bind_buffer = BindBuffer::kAlways};
  CallFrame frame(policy, nullptr);
  KelROI roi = KelROI::WholeImage();
  EXPECT_EQ(frame.Run(src_, roi, &dst_, Invert), STATUS_OK);
  EXPECT_TRUE(SameImage(dst_.Mat(), Inverted(pixels_)));
}

TEST_F(CallFrameTest, AResultInTheBufferStays) {
  const ScopedSettings settings({.efficiency = 1});
  const FramePolicy policy{.lines = kLines, .bind_buffer = BindBuffer::kAlways};
  for (const KelROIType kind : {KEL_ROI_WHOLE_IMAGE, KEL_ROI_REGION}) {
    StartOver();
    EXPECT_EQ(Run(policy, kind, InvertInPlace), STATUS_OK);
    EXPECT_EQ(dst_.ImageData(), buffer_.data);
    EXPECT_TRUE(SameImage(buffer_(script_->box), Inverted(pixels_(script_->box))));
  }
}

TEST_F(CallFrameTest, OnThePartPathTheBufferIsClearedAndTheOutputHasItsOwnPixels) {
  const ScopedSettings settings({.efficiency = 1});
  buffer_ = RandomImage(6, 9, CV_8UC1, 5);
  const FramePolicy policy{.lines = kLines, .bind_buffer = BindBuffer::kAlways};
  EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, Invert), STATUS_OK);
  EXPECT_NE(dst_.ImageData(), buffer_.data);
  EXPECT_TRUE(SameImage(buffer_, cv::Mat::zeros(6, 9, CV_8UC1)));
}

// The output is given as the input, as another image with the same pixels, or as an overlapping
// part of one larger image.
TEST_F(CallFrameTest, UnderAMaskAnOutputThatSharesPixelsGetsTheSameResult) {
  const FramePolicy policy{.lines = kLines};
  const cv::Mat expected = kelra_reference::UnderMask(
      pixels_,
      [&] {
        cv::Mat mask = cv::Mat::zeros(pixels_.size(), CV_8UC1);
        mask(script_->box).setTo(255);
        return mask;
      }(),
      Inverted);

  KelImage same(pixels_.clone());
  EXPECT_EQ(Run(policy, KEL_ROI_REGION, &same, &same, InvertInPlace), STATUS_OK);
  EXPECT_TRUE(SameImage(same.Mat(), expected));

  KelImage input(pixels_.clone());
  KelImage output(input.Mat());
  EXPECT_EQ(Run(policy, KEL_ROI_REGION, &input, &output, InvertInPlace), STATUS_OK);
  EXPECT_TRUE(SameImage(output.Mat(), expected));

  cv::Mat whole(8, 12, CV_8UC1, cv::Scalar(0));
  KelImage part(whole(cv::Rect(1, 1, 9, 6)));
  pixels_.copyTo(part.Mat());
  KelImage shifted(whole(cv::Rect(2, 2, 9, 6)));
  EXPECT_EQ(Run(policy, KEL_ROI_REGION, &part, &shifted, InvertInPlace), STATUS_OK);
  EXPECT_TRUE(SameImage(shifted.Mat(), expected));
}

TEST_F(CallFrameTest, UnderAMaskAPolicyMayLetTheWorkOverwriteTheInput) {
  const FramePolicy policy{.lines = kLines, .shared_output = SharedOutput::kWrittenInPlace};
  KelImage same(pixels_.clone());
  EXPECT_EQ(Run(policy, KEL_ROI_REGION, &same, &same, InvertInPlace), STATUS_OK);
  EXPECT_TRUE(SameImage(same.Mat(), Inverted(pixels_)));
}

TEST_F(CallFrameTest, AnOutputThatIsTheInputFallsBackToTheInput) {
  for (const int efficiency : {0, 1}) {
    const ScopedSettings settings({.efficiency = efficiency});
    const FramePolicy policy{.lines = kLines, .bind_buffer = BindBuffer::kAlways};
    for (const KelROIType kind : {KEL_ROI_REGION, KEL_ROI_CIRCLE}) {
      StartOver();
      KelImage same(pixels_.clone());
      EXPECT_EQ(Run(policy, kind, &same, &same, FailToWork), kWorkFails);
      EXPECT_TRUE(SameImage(same.Mat(), pixels_));
    }
    StartOver();
    script_->mask_status = kRegionFails;
    KelImage same(pixels_.clone());
    EXPECT_EQ(Run(policy, KEL_ROI_REGION, &same, &same, InvertInPlace), kRegionFails);
    EXPECT_TRUE(SameImage(same.Mat(), pixels_));
  }
}

TEST_F(CallFrameTest, WhatTheWorkThrowsPassesAndLeavesNoLogger) {
  for (const int efficiency : {0, 1}) {
    const ScopedSettings settings({.efficiency = efficiency});
    const FramePolicy policy{.lines = kLines, .bind_buffer = BindBuffer::kAlways};
    for (const KelROIType kind : {KEL_ROI_WHOLE_IMAGE, KEL_ROI_REGION, KEL_ROI_CIRCLE}) {
      StartOver();
      EXPECT_THROW(
          Run(policy, kind,
              [](const KelImage&, KelImage*) -> Status { throw std::runtime_error("work"); }),
          std::runtime_error);
      EXPECT_EQ(kelra_test::OpenLoggers(), 0);
      EXPECT_EQ(log_.Take(), kStartOnly);
    }
  }
}

TEST_F(CallFrameTest, WhatTheRestoreThrowsPassesAndLeavesNoHiddenRows) {
  for (const AfterRestore after : kAllAfterRestore) {
    StartOver();
    script_->extracted = src_.Mat()(script_->box);
    script_->restore_throws = true;
    dst_ = KelImage(RandomImage(6, 9, CV_8UC1, 4));
    const FramePolicy policy{.lines = kLines, .after_restore = after};
    EXPECT_THROW(Run(policy, KEL_ROI_CIRCLE, InvertInPlace), std::runtime_error);
    EXPECT_FALSE(dst_.Mat().isSubmatrix());
    EXPECT_EQ(dst_.Mat().rows, dst_.Mat().data == nullptr ? 0 : 6);
  }
}

TEST_F(CallFrameTest, TheAnswerOfTheLogIsIgnored) {
  const RecordedLog failing_log(9);
  const FramePolicy policy{.lines = kLines};
  EXPECT_EQ(Run(policy, KEL_ROI_CIRCLE, Invert), STATUS_OK);
}

}  // namespace
}  // namespace KELRA
