// Whose pixels the frame leaves in the output, the input and the object's matrix.

#include <gtest/gtest.h>

#include <functional>

#include "fake_settings.h"
#include "frame/call_frame.h"
#include "scripted_regions.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::NewRegionScript;
using kelra_test::RandomImage;
using kelra_test::RegionScript;
using kelra_test::SameImage;
using kelra_test::ScopedSettings;

constexpr LogLines kLines{"Method", 11, 22};
constexpr KelLong kFailure = 4711;
constexpr int kAllKinds[] = {0, 1, 2, 3, 4, 6, 8, 11};

KelROI Kind(int kind) { return KelROI(static_cast<KelROIType>(kind)); }

cv::Mat Inverted(const cv::Mat& mat) {
  cv::Mat result;
  cv::bitwise_not(mat, result);
  return result;
}

// Work in the manner of every operation: in the output's own matrix where that fits.
constexpr auto kInvert = [](const KelImage& in, KelImage* out) -> Status {
  cv::bitwise_not(in.Mat(), out->Mat());
  return STATUS_OK;
};

constexpr auto kFailUntouched = [](const KelImage&, KelImage*) -> Status { return kFailure; };
using WorkPointer = Status (*)(const KelImage&, KelImage*);

Status RunOnce(const FramePolicy& policy, KelImage& src, KelROI roi, KelImage* dst,
               CallFrame::Work work, cv::Mat* buffer = nullptr) {
  CallFrame frame(policy, buffer);
  return frame.Run(src, roi, dst, work);
}

cv::Mat Input() { return RandomImage(6, 9, CV_16UC3, 5); }
cv::Mat OldOutput() { return RandomImage(4, 3, CV_8UC1, 6); }

// The input with the work's result in the script's box.
cv::Mat InvertedInBox(const cv::Mat& input, const cv::Rect& box) {
  cv::Mat expected = input.clone();
  Inverted(input(box).clone()).copyTo(expected(box));
  return expected;
}

// The inverse of the mask is 255 less the mask, and every value but 0 counts as outside.
TEST(CallFramePixels, OnlyAFullyInsideMaskValueKeepsTheResult) {
  constexpr FramePolicy kPolicy{.lines = kLines};
  cv::Mat every_value(1, 256, CV_8UC1);
  for (int i = 0; i < 256; ++i) {
    every_value.at<std::uint8_t>(i) = static_cast<std::uint8_t>(i);
  }
  NewRegionScript().mask = every_value;
  const cv::Mat input = RandomImage(1, 256, CV_8UC3);
  KelImage src(input.clone());
  KelImage dst;
  EXPECT_EQ(RunOnce(kPolicy, src, Kind(11), &dst, kInvert), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), InvertedInBox(input, cv::Rect(255, 0, 1, 1))));
}

struct FailingStep {
  const char* name;
  Fallback flag;
  int kind;
  bool work_fails;
  KelLong RegionScript::*script_status;
};

constexpr FailingStep kFailingSteps[] = {
    {"the work under a mask", Fallback::kMaskedWork, 11, true, nullptr},
    {"making the mask", Fallback::kMask, 11, false, &RegionScript::mask_status},
    {"cutting out", Fallback::kExtraction, 0, false, &RegionScript::extraction_status},
    {"the work on the part", Fallback::kPartWork, 0, true, nullptr},
    {"putting back", Fallback::kRestore, 0, false, &RegionScript::restore_status},
};

// An output given to the frame beside or on top of the input's pixels.
struct SharingCase {
  const char* name;
  std::function<KelImage(const cv::Mat& canvas)> input;
  std::function<KelImage(const cv::Mat& canvas)> output;
};

const SharingCase kSharingCases[] = {
    {"the same pixels", [](const cv::Mat& c) { return KelImage(c(cv::Rect(0, 0, 9, 6))); },
     [](const cv::Mat& c) { return KelImage(c(cv::Rect(0, 0, 9, 6))); }},
    {"pixels one column and one row on",
     [](const cv::Mat& c) { return KelImage(c(cv::Rect(0, 0, 9, 6))); },
     [](const cv::Mat& c) { return KelImage(c(cv::Rect(1, 1, 9, 6))); }},
    {"pixels one column back", [](const cv::Mat& c) { return KelImage(c(cv::Rect(3, 2, 9, 6))); },
     [](const cv::Mat& c) { return KelImage(c(cv::Rect(2, 2, 9, 6))); }},
    {"a larger part around the input",
     [](const cv::Mat& c) { return KelImage(c(cv::Rect(2, 2, 9, 6))); },
     [](const cv::Mat& c) { return KelImage(c); }},
};

// Computes the whole before it writes, so that only the frame's own steps are at stake.
constexpr auto kInvertAtOnce = [](const KelImage& in, KelImage* out) -> Status {
  const cv::Mat result = Inverted(in.Mat());
  if (out->Mat().size() == result.size() && out->Mat().type() == result.type()) {
    result.copyTo(out->Mat());
  } else {
    out->Mat() = result;
  }
  return STATUS_OK;
};

TEST(CallFramePixels, AnOutputOnTheInputsPixelsGetsTheResultOfASeparateOne) {
  constexpr FramePolicy kPolicy{.lines = kLines, .shared_output = SharedOutput::kAsIfSeparate};
  for (const SharingCase& sharing : kSharingCases) {
    for (const int kind : kAllKinds) {
      const cv::Rect box = NewRegionScript().box;
      const cv::Mat canvas = RandomImage(12, 16, CV_8UC3, 8);
      KelImage src = sharing.input(canvas);
      KelImage dst = sharing.output(canvas);
      const cv::Mat input = src.Mat().clone();
      EXPECT_EQ(RunOnce(kPolicy, src, Kind(kind), &dst, kInvertAtOnce), STATUS_OK);
      EXPECT_TRUE(SameImage(
          dst.Mat(), kind == KEL_ROI_WHOLE_IMAGE ? Inverted(input) : InvertedInBox(input, box)))
          << sharing.name << ", kind " << kind;
    }
  }
}

TEST(CallFramePixels, WrittenInPlaceTheResultStaysOutsideTheMaskToo) {
  constexpr FramePolicy kPolicy{.lines = kLines, .shared_output = SharedOutput::kWrittenInPlace};
  const cv::Rect box = NewRegionScript().box;
  {
    KelImage image(Input());
    EXPECT_EQ(RunOnce(kPolicy, image, Kind(11), &image, kInvert), STATUS_OK);
    EXPECT_TRUE(SameImage(image.Mat(), Inverted(Input())));
  }
  {
    KelImage src(Input());
    KelImage dst = src;
    EXPECT_EQ(RunOnce(kPolicy, src, Kind(11), &dst, kInvert), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), Inverted(Input())));
    EXPECT_EQ(dst.ImageData(), src.ImageData());
  }
  {
    KelImage src(Input());
    KelImage dst;
    EXPECT_EQ(RunOnce(kPolicy, src, Kind(11), &dst, kInvert), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), InvertedInBox(Input(), box)));
  }
}

TEST(CallFramePixels, AFailureWithTheInputAsOutputKeepsTheInput) {
  for (const Fallback fallback : {Fallback::kNever, Fallback::kAlways}) {
    const FramePolicy policy{
        .lines = kLines, .fallback = fallback, .after_restore = AfterRestore::kOnlyOnSuccess};
    for (const FailingStep& step : kFailingSteps) {
      if (step.flag == Fallback::kMask && fallback == Fallback::kNever) {
        continue;  // the result of the work is returned as it stands
      }
      RegionScript& script = NewRegionScript();
      if (step.script_status != nullptr) {
        script.*step.script_status = kFailure;
      }
      KelImage image(Input());
      const WorkPointer work = step.work_fails ? WorkPointer{kFailUntouched} : WorkPointer{kInvert};
      EXPECT_EQ(RunOnce(policy, image, Kind(step.kind), &image, work), kFailure);
      EXPECT_TRUE(SameImage(image.Mat(), Input())) << step.name;
    }
  }
}

TEST(CallFramePixels, ABufferBoundToTheInputsOwnImageLeavesTheInputReadable) {
  constexpr FramePolicy kPolicy{.lines = kLines, .bind_buffer = BindBuffer::kBeforeRegionCheck};
  const ScopedSettings settings({.efficiency = 1});
  for (const int kind : kAllKinds) {
    const cv::Rect box = NewRegionScript().box;
    KelImage image(Input());
    cv::Mat buffer;
    CallFrame frame(kPolicy, &buffer);
    frame.BindBufferNow(image, &image);
    KelROI roi = Kind(kind);
    EXPECT_EQ(frame.Run(image, roi, &image, kInvert), STATUS_OK);
    EXPECT_TRUE(SameImage(
        image.Mat(), kind == KEL_ROI_WHOLE_IMAGE ? Inverted(Input()) : InvertedInBox(Input(), box)))
        << kind;
  }
}

TEST(CallFramePixels, TheBufferHoldsAResultOrZerosAfterTheCall) {
  constexpr FramePolicy kPolicy{
      .lines = kLines, .bind_buffer = BindBuffer::kAlways, .fallback = Fallback::kNever};
  const ScopedSettings settings({.efficiency = 1});
  const cv::Mat zeros = cv::Mat::zeros(6, 9, CV_16UC3);
  const cv::Rect box{2, 1, 5, 3};
  const struct {
    int kind;
    bool work_fails;
    cv::Mat buffer;
  } cases[] = {
      {3, false, Inverted(Input())},
      {3, true, zeros},
      {11, false, InvertedInBox(Input(), box)},
      {11, true, zeros},
      {0, false, zeros},
      {0, true, zeros},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "kind " << c.kind << ", fails " << c.work_fails);
    NewRegionScript();
    KelImage src(Input());
    KelImage dst;
    cv::Mat buffer(6, 9, CV_16UC3, cv::Scalar::all(77));
    const void* pixels = buffer.data;
    const WorkPointer work = c.work_fails ? WorkPointer{kFailUntouched} : WorkPointer{kInvert};
    EXPECT_EQ(RunOnce(kPolicy, src, Kind(c.kind), &dst, work, &buffer).ok(), !c.work_fails);
    EXPECT_TRUE(SameImage(buffer, c.buffer));
    EXPECT_EQ(buffer.data, pixels);
    EXPECT_EQ(dst.ImageData() == buffer.data, c.kind != 0 || c.work_fails);
  }
}

TEST(CallFramePixels, AFailureAfterBindingLeavesTheClearedBufferInTheOutput) {
  constexpr FramePolicy kPolicy{.lines = kLines,
                                .bind_buffer = BindBuffer::kAlways,
                                .fallback = Fallback::kNever,
                                .after_restore = AfterRestore::kOnlyOnSuccess};
  const ScopedSettings settings({.efficiency = 1});
  for (const FailingStep& step : kFailingSteps) {
    if (step.flag == Fallback::kMask) {
      continue;  // the work has filled the buffer by then
    }
    RegionScript& script = NewRegionScript();
    if (step.script_status != nullptr) {
      script.*step.script_status = kFailure;
    }
    KelImage src(Input());
    KelImage dst(OldOutput());
    cv::Mat buffer(6, 9, CV_16UC3, cv::Scalar::all(77));
    const WorkPointer work = step.work_fails ? WorkPointer{kFailUntouched} : WorkPointer{kInvert};
    EXPECT_EQ(RunOnce(kPolicy, src, Kind(step.kind), &dst, work, &buffer), kFailure);
    EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat::zeros(6, 9, CV_16UC3))) << step.name;
    EXPECT_EQ(dst.ImageData(), buffer.data) << step.name;
  }
}

}  // namespace
}  // namespace KELRA
