// The bodies by themselves.
#include "access/region_value_bodies.h"

#include <gtest/gtest.h>

#include <vector>

#include "access.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

// Rows are painted again and again by runs that overlap.
std::vector<KelRun> OverlappingRuns(int rows, int columns) {
  std::vector<KelRun> runs;
  for (int i = 0; i < 4 * rows; ++i) {
    runs.push_back({i % rows, i * 5 % columns, i * 5 % columns + i * 11 % columns});
  }
  return runs;
}

cv::Mat PaintedBy(const cv::Mat& image, const std::vector<KelRun>& runs, int channel, int value) {
  KelRegion region;
  for (const KelRun& run : runs) {
    region.Append(run);
  }
  return Painted(image, {region}, channel, value);
}

template <class Sample>
struct Bodies {
  static constexpr int kDepth = sizeof(Sample) == 1 ? CV_8U : CV_16U;
};

template <class T>
class RegionBodies : public ::testing::Test {};
using SampleTypes = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(RegionBodies, SampleTypes);

// The body that an image of so many channels takes.
template <class Sample>
void Paint(const cv::Mat& image, int channel, int value, const std::vector<KelRun>& runs,
           const RowRange& range) {
  if (image.channels() == 1) {
    tbbup::RegionValue<Sample>(image, value, runs)(range);
  } else {
    tbbup::RegionColorValue<Sample>(image, channel, value, runs)(range);
  }
}

TYPED_TEST(RegionBodies, EveryRangeWalksAllRuns) {
  const std::vector<KelRun> runs = OverlappingRuns(6, 40);
  for (const int channels : {1, 3}) {
    const cv::Mat image = RandomImage(6, 40, CV_MAKETYPE(Bodies<TypeParam>::kDepth, channels));
    for (const RowRange& range : {RowRange(0, 1), RowRange(20, 24), RowRange(5, 5)}) {
      cv::Mat result = image.clone();
      Paint<TypeParam>(result, 2, 99, runs, range);
      EXPECT_TRUE(SameImage(result, PaintedBy(image, runs, 2, 99)));
    }
  }
}

TYPED_TEST(RegionBodies, SetNothingAroundAnImageOfAnyAlignment) {
  const std::vector<KelRun> all = {{0, 0, 100}, {1, 0, 100}};
  for (int channels = 1; channels <= 4; ++channels) {
    for (int channel = 1; channel <= channels; ++channel) {
      for (int margin = 0; margin < 32; margin += static_cast<int>(sizeof(TypeParam))) {
        for (int columns = 1; columns <= 35; ++columns) {
          const cv::Mat pixels =
              RandomImage(2, columns, CV_MAKETYPE(Bodies<TypeParam>::kDepth, channels));
          GuardedImage image(pixels, 0, margin);
          Paint<TypeParam>(image.Mat(), channel, 99, all, RowRange(0, 2));
          ASSERT_TRUE(SameImage(image.Mat(), PaintedBy(pixels, all, channel, 99)));
          ASSERT_TRUE(image.SurroundingsUntouched())
              << channels << " channels, margin " << margin << ", " << columns << " columns";
        }
      }
    }
  }
}

TYPED_TEST(RegionBodies, EveryRunOfARowIsSetWholeAndAlone) {
  constexpr int kColumns = 37;
  for (const int channels : {1, 3}) {
    const cv::Mat pixels =
        RandomImage(1, kColumns, CV_MAKETYPE(Bodies<TypeParam>::kDepth, channels));
    for (int channel = 1; channel <= channels; ++channel) {
      for (int first = 0; first < kColumns; ++first) {
        for (int last = first; last < kColumns; ++last) {
          const std::vector<KelRun> run = {{0, first, last}};
          const cv::Mat image = pixels.clone();
          Paint<TypeParam>(image, channel, 99, run, RowRange(0, 1));
          ASSERT_TRUE(SameImage(image, PaintedBy(pixels, run, channel, 99)))
              << first << " to " << last;
        }
      }
    }
  }
}

}  // namespace
}  // namespace kelra_test
