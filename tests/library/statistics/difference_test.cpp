#include <KELRA/KelImageOperation.h>

#include <cstdlib>
#include <vector>

#include "every_instruction_set.h"
#include "fake_settings.h"
#include "recorded_log.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

template <class Sample>
cv::Mat ModelAs(const cv::Mat& first, const cv::Mat& second) {
  cv::Mat output(first.size(), first.type());
  for (int row = 0; row < first.rows; ++row) {
    for (int i = 0; i < first.cols * first.channels(); ++i) {
      output.ptr<Sample>(row)[i] =
          static_cast<Sample>(std::abs(first.ptr<Sample>(row)[i] - second.ptr<Sample>(row)[i]));
    }
  }
  return output;
}

cv::Mat Model(const cv::Mat& first, const cv::Mat& second) {
  return first.depth() == CV_8U ? ModelAs<std::uint8_t>(first, second)
                                : ModelAs<std::uint16_t>(first, second);
}

KelLong Compute(const cv::Mat& first, const cv::Mat& second, KelImage* dst) {
  KelImage a(first);
  KelImage b(second);
  return KelImageOperation().Difference(a, b, dst);
}

class DifferenceOnEverySet : public EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(DifferenceOnEverySet);

TEST_P(DifferenceOnEverySet, IsTheModelsForEveryWidthTypeAndStride) {
  for (const int type : kPixelTypes) {
    for (int columns = 1; columns <= 70; ++columns) {
      const cv::Mat a = RandomImage(3, columns, type, 1);
      const cv::Mat b = RandomImage(3, columns, type, 2);
      const int gap = columns % 2 * 6;
      GuardedImage first(a, gap, gap);
      GuardedImage second(b, 0, 0);
      GuardedImage dst(a, 2 * gap, gap);
      KelImage output(dst.Mat());
      ASSERT_EQ(Compute(first.Mat(), second.Mat(), &output), STATUS_OK);
      ASSERT_TRUE(SameImage(dst.Mat(), Model(a, b))) << TypeName(type) << ' ' << columns;
      ASSERT_TRUE(first.SurroundingsUntouched());
      ASSERT_TRUE(second.SurroundingsUntouched());
      ASSERT_TRUE(dst.SurroundingsUntouched());
    }
  }
}

TEST(Difference, GivesTheSameBytesWithEveryParallelSetting) {
  const cv::Mat a = RandomImage(301, 757, CV_16UC1, 1);
  const cv::Mat b = RandomImage(301, 757, CV_16UC1, 2);
  for (const int parallel : ParallelSettingsFor(a.rows)) {
    const ScopedSettings settings({.parallel = parallel});
    KelImage dst;
    ASSERT_EQ(Compute(a, b, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), Model(a, b))) << parallel;
  }
}

TEST(Difference, MayBeWrittenOverAnInput) {
  const cv::Mat a = RandomImage(9, 33, CV_8UC3, 1);
  const cv::Mat b = RandomImage(9, 33, CV_8UC3, 2);
  KelImageOperation object;
  KelImage first(a.clone());
  KelImage second(b.clone());
  ASSERT_EQ(object.Difference(first, second, &first), STATUS_OK);
  EXPECT_TRUE(SameImage(first.Mat(), Model(a, b)));
  first = KelImage(a.clone());
  ASSERT_EQ(object.Difference(first, second, &second), STATUS_OK);
  EXPECT_TRUE(SameImage(second.Mat(), Model(a, b)));
  ASSERT_EQ(object.Difference(first, first, &first), STATUS_OK);
  EXPECT_TRUE(SameImage(first.Mat(), cv::Mat::zeros(9, 33, CV_8UC3)));
}

TEST(Difference, ReadsInputsThatOverlapTheOutputBeforeWritingIt) {
  cv::Mat memory = RandomImage(12, 20, CV_8UC1);
  const cv::Mat a = memory.rowRange(0, 8).clone();
  const cv::Mat b = memory.rowRange(4, 12).clone();
  KelImage dst(memory.rowRange(2, 10));
  ASSERT_EQ(Compute(memory.rowRange(0, 8), memory.rowRange(4, 12), &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), Model(a, b)));
}

TEST(Difference, ReportsTheFirstFailingCheckAndLeavesTheOutputAlone) {
  const cv::Mat good = RandomImage(4, 5, CV_8UC1);
  const cv::Mat empty(0, 5, CV_8UC1);
  struct {
    const char* what;
    cv::Mat first;
    cv::Mat second;
    KelLong status;
  } const kCases[] = {
      {"first empty, depth", cv::Mat(0, 5, CV_32FC1), good, ERR_IMAGE_EMPTY},
      {"second empty, depth", cv::Mat(4, 5, CV_32FC1), empty, ERR_IMAGE_EMPTY},
      {"depth, mismatch", cv::Mat(4, 5, CV_8SC1), good, ERR_BIT_DEPTH},
      {"depth mismatch, width", good, cv::Mat(4, 6, CV_16UC1), ERR_DEPTH_MISMATCH},
      {"width, height", good, cv::Mat(3, 6, CV_8UC1), ERR_WIDTH_MISMATCH},
      {"height, channels", cv::Mat(4, 5, CV_8UC2), cv::Mat(3, 5, CV_8UC1), ERR_HEIGHT_MISMATCH},
      {"channels, mismatch", cv::Mat(4, 5, CV_8UC4), good, ERR_CHANNEL_COUNT},
      {"channel mismatch", good, cv::Mat(4, 5, CV_8UC3), ERR_CHANNEL_MISMATCH},
  };
  for (const auto& test : kCases) {
    KelImage dst(good);
    RecordedLog log;
    EXPECT_EQ(Compute(test.first, test.second, &dst), test.status) << test.what;
    EXPECT_EQ(dst.ImageData(), good.data) << test.what;
    EXPECT_EQ(log.Take(), std::vector{StartRecord("Difference", 9167)}) << test.what;
    EXPECT_EQ(Compute(test.first, test.second, nullptr), test.status) << test.what;
  }
  EXPECT_EQ(Compute(good, good, nullptr), ERR_IMAGE_EMPTY);
}

TEST(Difference, LogsItsStartAndExit) {
  const cv::Mat image = RandomImage(4, 5, CV_8UC1);
  KelImage dst;
  RecordedLog log;
  ASSERT_EQ(Compute(image, image, &dst), STATUS_OK);
  EXPECT_EQ(log.Take(),
            (std::vector{StartRecord("Difference", 9167), ExitRecord("Difference", 9198)}));
}

}  // namespace
}  // namespace kelra_test
