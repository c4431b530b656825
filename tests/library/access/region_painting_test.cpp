#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "access.h"
#include "fake_settings.h"
#include "recorded_log.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

KelRegion RegionOf(const std::vector<KelRun>& runs) {
  KelRegion region(1, 1);
  for (const KelRun& run : runs) {
    region.Append(run);
  }
  return region;
}

// Runs that overlap, touch, cross every edge, and lie outside on every side.
KelRegionArray RandomRegions(int rows, int columns, std::uint64_t seed) {
  cv::RNG random(seed * 77 + 1);
  KelRegionArray regions;
  for (int i = 0; i < 3; ++i) {
    KelRegion region(columns, rows);
    for (int run = random.uniform(0, 2 * rows + 2); run > 0; --run) {
      const int first = random.uniform(-3, columns + 3);
      region.Append({random.uniform(-2, rows + 2), first, first + random.uniform(-2, columns + 3)});
    }
    regions.Append(region);
  }
  return regions;
}

cv::Mat Paint(const cv::Mat& mat, KelRegionArray regions, int channel, int value) {
  KelImageOperation op;
  KelImage src(mat);
  KelImage dst;
  EXPECT_EQ(op.SetRegionValue(src, &dst, regions, channel, value), STATUS_OK);
  return dst.Mat();
}

TEST(SetRegionValue, PaintsEveryChannelOfEveryTypeAtEveryWidth) {
  for (const int depth : {CV_8U, CV_16U}) {
    const int largest = depth == CV_8U ? 255 : 65535;
    for (int channels = 1; channels <= 6; ++channels) {
      const int type = CV_MAKETYPE(depth, channels);
      for (int columns = 1; columns <= 70; ++columns) {
        const int rows = 1 + columns % 5;
        const cv::Mat image = RandomImage(rows, columns, type);
        const KelRegionArray regions =
            RandomRegions(rows, columns, static_cast<std::uint64_t>(columns));
        for (int channel = 1; channel <= channels; ++channel) {
          const int value = (channel * 7919 + columns * 31) % (largest + 1);
          ASSERT_TRUE(SameImage(Paint(image, regions, channel, value),
                                Painted(image, regions, channel, value)))
              << TypeName(type) << ", " << columns << " columns, channel " << channel;
        }
      }
    }
  }
}

TEST(SetRegionValue, CountsChannelsOfAColourPixelFromTheEnd) {
  const cv::Mat image(1, 1, CV_8UC3, cv::Scalar(10, 20, 30));
  const KelRegionArray regions = {RegionOf({{0, 0, 0}})};
  EXPECT_TRUE(
      SameImage(Paint(image, regions, 1, 99), cv::Mat(1, 1, CV_8UC3, cv::Scalar(10, 20, 99))));
  EXPECT_TRUE(
      SameImage(Paint(image, regions, 2, 99), cv::Mat(1, 1, CV_8UC3, cv::Scalar(10, 99, 30))));
  EXPECT_TRUE(
      SameImage(Paint(image, regions, 3, 99), cv::Mat(1, 1, CV_8UC3, cv::Scalar(99, 20, 30))));
}

TEST(SetRegionValue, CutsRunsAtTheEdges) {
  const cv::Mat black = cv::Mat::zeros(3, 5, CV_8UC1);
  struct Case {
    KelRun run;
    cv::Rect painted;
  };
  for (const Case& c : std::vector<Case>{{{0, -5, 2}, {0, 0, 3, 1}},
                                         {{2, 3, 9}, {3, 2, 2, 1}},
                                         {{1, INT_MIN, INT_MAX}, {0, 1, 5, 1}},
                                         {{1, INT_MIN, 0}, {0, 1, 1, 1}},
                                         {{1, 4, INT_MAX}, {4, 1, 1, 1}},
                                         {{-1, 0, 4}, {}},
                                         {{3, 0, 4}, {}},
                                         {{INT_MIN, 0, 4}, {}},
                                         {{INT_MAX, 0, 4}, {}},
                                         {{1, 3, 2}, {}},
                                         {{1, INT_MAX, INT_MIN}, {}},
                                         {{1, INT_MIN, INT_MIN}, {}},
                                         {{1, INT_MAX, INT_MAX}, {}},
                                         {{1, -3, -1}, {}},
                                         {{1, 5, 8}, {}}}) {
    for (const int type : {CV_8UC1, CV_16UC1, CV_8UC3, CV_16UC3}) {
      const cv::Mat image = cv::Mat::zeros(3, 5, type);
      cv::Mat expected = image.clone();
      expected(c.painted).setTo(image.channels() == 1 ? cv::Scalar(200) : cv::Scalar(0, 0, 200));
      EXPECT_TRUE(SameImage(Paint(image, {RegionOf({c.run})}, 1, 200), expected))
          << c.run.row << ": " << c.run.firstColumn << " to " << c.run.lastColumn;
    }
  }
}

// Two channels three samples apart run over their rows' ends; of four channels the last is the one
// before the pixel.
TEST(SetRegionValue, SkipsSamplesBeforeTheFirstAndBehindTheLast) {
  const KelRegionArray all = {RegionOf({{0, 0, 3}, {1, 0, 3}, {2, 0, 3}})};
  struct Case {
    int channels;
    int channel;
    int painted;  // samples
  };
  // Two channels: row 2 begins at sample 16 of 24; 16 + 2 + 3 * 2 is sample 24.
  for (const Case& c :
       std::vector<Case>{{2, 1, 10}, {2, 2, 11}, {4, 4, 11}, {5, 5, 11}, {6, 6, 11}}) {
    for (const int depth : {CV_8U, CV_16U}) {
      const cv::Mat image = cv::Mat::zeros(3, 4, CV_MAKETYPE(depth, c.channels));
      const cv::Mat result = Paint(image, all, c.channel, 9);
      EXPECT_TRUE(SameImage(result, Painted(image, all, c.channel, 9)));
      cv::Mat samples(1, static_cast<int>(result.total()) * c.channels, depth, result.data);
      EXPECT_EQ(cv::countNonZero(samples), c.painted)
          << c.channels << " channels, channel " << c.channel;
    }
  }
  const cv::Mat many = cv::Mat::zeros(1, 1, CV_8UC(512));
  EXPECT_TRUE(SameImage(Paint(many, {RegionOf({{0, 0, 0}})}, 512, 9), many));
}

TEST(SetRegionValue, GivesTheSameForEveryParallelSetting) {
  constexpr int kRows = 700;
  constexpr int kColumns = 500;
  for (const int type : kPixelTypes) {
    const cv::Mat image = RandomImage(kRows, kColumns, type);
    const KelRegionArray regions = RandomRegions(kRows, kColumns, 3);
    const cv::Mat expected = Painted(image, regions, 1, 77);
    for (const int parallel : ParallelSettingsFor(kRows)) {
      const ScopedSettings settings({.parallel = parallel});
      ASSERT_TRUE(SameImage(Paint(image, regions, 1, 77), expected)) << parallel;
    }
  }
}

// Worth sharing out, and painted while it is copied when its runs come row by row.
TEST(SetRegionValue, OfALargeImageGivesTheSameWhateverTheOrderOfTheRuns) {
  std::vector<KelRun> runs;
  for (int row = 0; row < 700; ++row) {
    runs.push_back({row, row % 3 == 0 ? 0 : row, row % 2 == 0 ? 900 : row + 150});
    runs.push_back({row, 40, 45});
  }
  const std::vector<KelRun> backwards(runs.rbegin(), runs.rend());
  for (const int type : {CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC2, CV_16UC3}) {
    const cv::Mat image = RandomImage(700, 901, type);
    for (const std::vector<KelRun>& order : {runs, backwards}) {
      const KelRegion region = RegionOf(order);
      for (int channel = 1; channel <= image.channels(); ++channel) {
        ASSERT_TRUE(
            SameImage(Paint(image, {region}, channel, 99), Painted(image, {region}, channel, 99)))
            << TypeName(type) << ", channel " << channel;
      }
    }
  }
}

TEST(SetRegionValue, PaintsEachValueOfTheRange) {
  const KelRegionArray regions = {RegionOf({{1, 2, 30}})};
  for (const int type : {CV_8UC1, CV_16UC1}) {
    const cv::Mat image = RandomImage(3, 40, type);
    for (const int value : {0, 1, 127, 128, 255, 256, 0x8001, 65535}) {
      if (type == CV_16UC1 || value < 256) {
        EXPECT_TRUE(SameImage(Paint(image, regions, 1, value), Painted(image, regions, 1, value)));
      }
    }
  }
}

TEST(SetRegionValue, TheResultIsAPackedCopyInNewMemory) {
  GuardedImage input(RandomImage(5, 7, CV_8UC3), 3, 4);
  GuardedImage output(RandomImage(5, 7, CV_8UC3, 2), 3, 4);
  const cv::Mat expected = Painted(input.Mat(), {RegionOf({{2, 1, 4}})}, 1, 200);
  KelImageOperation op;
  KelImage src(input.Mat());
  KelImage dst(output.Mat());
  KelRegionArray regions = {RegionOf({{2, 1, 4}})};
  EXPECT_EQ(op.SetRegionValue(src, &dst, regions, 1, 200), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), expected));
  EXPECT_TRUE(dst.Mat().isContinuous());
  EXPECT_TRUE(SameImage(input.Mat(), RandomImage(5, 7, CV_8UC3)));
  EXPECT_TRUE(SameImage(output.Mat(), RandomImage(5, 7, CV_8UC3, 2)));
  EXPECT_TRUE(input.SurroundingsUntouched());
  EXPECT_TRUE(output.SurroundingsUntouched());
}

TEST(SetRegionValue, TheOutputMayBeTheInput) {
  const cv::Mat before = RandomImage(5, 70, CV_8UC1);
  KelImage image(before.clone());
  const KelImage kept = image;
  KelRegionArray regions = {RegionOf({{2, 1, 64}})};
  KelImageOperation op;
  EXPECT_EQ(op.SetRegionValue(image, &image, regions, 1, 200), STATUS_OK);
  EXPECT_TRUE(SameImage(image.Mat(), Painted(before, regions, 1, 200)));
  EXPECT_TRUE(SameImage(kept.Mat(), before));
}

TEST(SetRegionValue, WritesInPlaceOnlyWhereNoOtherMatrixSeesIt) {
  const cv::Mat image = RandomImage(5, 40, CV_16UC1);
  KelRegionArray regions = {RegionOf({{2, 1, 33}})};
  const cv::Mat expected = Painted(image, regions, 1, 200);
  KelImageOperation op;
  KelImage src(image);
  KelImage dst;
  ASSERT_EQ(op.SetRegionValue(src, &dst, regions, 1, 200), STATUS_OK);
  const void* own = dst.ImageData();
  dst.Mat().setTo(0);
  ASSERT_EQ(op.SetRegionValue(src, &dst, regions, 1, 200), STATUS_OK);
  EXPECT_EQ(dst.ImageData(), own);
  EXPECT_TRUE(SameImage(dst.Mat(), expected));

  const KelImage kept = dst;
  const KelImage kept_before = kept.DeepCopy();
  ASSERT_EQ(op.SetRegionValue(src, &dst, regions, 1, 300), STATUS_OK);
  EXPECT_NE(dst.ImageData(), own);
  EXPECT_TRUE(SameImage(kept.Mat(), kept_before.Mat()));
  EXPECT_TRUE(SameImage(dst.Mat(), Painted(image, regions, 1, 300)));

  // Alone with its pixels, but with gaps between its rows.
  dst.Mat() = cv::Mat(RandomImage(5, 50, CV_16UC1), cv::Rect(3, 0, 40, 5));
  ASSERT_EQ(op.SetRegionValue(src, &dst, regions, 1, 200), STATUS_OK);
  EXPECT_TRUE(dst.Mat().isContinuous());
  EXPECT_TRUE(SameImage(dst.Mat(), expected));
}

TEST(SetRegionValue, RegionsWithoutRunsLeaveACopy) {
  const cv::Mat image = RandomImage(3, 4, CV_8UC3);
  EXPECT_TRUE(SameImage(Paint(image, {KelRegion(), KelRegion(4, 3)}, 1, 200), image));
}

struct PaintCase {
  cv::Mat image;
  int regions;
  int channel;
  int value;
  bool has_output;
  KelLong status;
};

TEST(SetRegionValue, ChecksInItsOrder) {
  const cv::Mat grey = RandomImage(4, 6, CV_8UC1);
  const cv::Mat deep = RandomImage(4, 6, CV_16UC3);
  const std::vector<PaintCase> cases = {
      {cv::Mat(), 0, 0, -1, false, ERR_IMAGE_EMPTY},
      {cv::Mat(10, 0, CV_32SC1), 1, 1, 0, true, ERR_IMAGE_EMPTY},
      {cv::Mat(4, 6, CV_8SC1, cv::Scalar(0)), 0, 0, -1, false, ERR_BIT_DEPTH},
      {grey, 0, 0, -1, false, ERR_PARAM_1},
      {grey, 0, 1, 0, true, ERR_PARAM_1},
      {grey, 1, 0, -1, false, ERR_PARAM_2},
      {grey, 1, 2, 256, true, ERR_PARAM_2},
      {grey, 1, INT_MIN, 0, true, ERR_PARAM_2},
      {grey, 1, INT_MAX, 0, true, ERR_PARAM_2},
      {deep, 1, 4, 0, true, ERR_PARAM_2},
      {grey, 1, 1, -1, false, ERR_PARAM_3},
      {grey, 1, 1, 256, true, ERR_PARAM_3},
      {grey, 1, 1, INT_MIN, true, ERR_PARAM_3},
      {grey, 1, 1, INT_MAX, true, ERR_PARAM_3},
      {deep, 1, 3, 65536, true, ERR_PARAM_3},
      {grey, 1, 1, 255, false, ERR_IMAGE_EMPTY},
      {grey, 1, 1, 255, true, STATUS_OK},
      {deep, 1, 3, 65535, true, STATUS_OK},
  };
  RecordedLog log;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const PaintCase& c = cases[i];
    KelImageOperation op;
    KelImage image(c.image);
    const cv::Mat before = RandomImage(3, 3, CV_8UC3);
    KelImage dst(before);
    KelRegionArray regions;
    for (int region = 0; region < c.regions; ++region) {
      regions.Append(RegionOf({{0, 0, 1}}));
    }
    EXPECT_EQ(op.SetRegionValue(image, c.has_output ? &dst : nullptr, regions, c.channel, c.value),
              c.status);
    std::vector<LogRecord> records = {StartRecord("SetRegionValue", 7250)};
    if (c.status == STATUS_OK) {
      records.push_back(ExitRecord("SetRegionValue", 7336));
    } else {
      EXPECT_EQ(dst.ImageData(), before.data);
    }
    EXPECT_EQ(log.Take(), records);
  }
}

}  // namespace
}  // namespace kelra_test
