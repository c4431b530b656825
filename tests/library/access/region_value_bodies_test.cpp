// The bodies by themselves, as a parallel loop may run them.
#include "access/region_value_bodies.h"

#include <gtest/gtest.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include <thread>
#include <vector>

#include "access.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

// Rows are painted again and again by runs that overlap, begin and end within words, and share
// words with their neighbours.
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

TYPED_TEST(RegionBodies, EveryRangeWalksAllRuns) {
  const std::vector<KelRun> runs = OverlappingRuns(6, 40);
  for (const int channels : {1, 3}) {
    const cv::Mat image = RandomImage(6, 40, CV_MAKETYPE(Bodies<TypeParam>::kDepth, channels));
    for (const RowRange& range : {RowRange(0, 1), RowRange(20, 24), RowRange(5, 5)}) {
      cv::Mat result = image.clone();
      if (channels == 1) {
        tbbup::RegionValue<TypeParam>(result, 99, runs)(range);
      } else {
        tbbup::RegionColorValue<TypeParam>(result, 2, 99, runs)(range);
      }
      EXPECT_TRUE(SameImage(result, PaintedBy(image, runs, 2, 99)));
    }
  }
}

// Under ThreadSanitizer this also shows that the stores are no races.
TYPED_TEST(RegionBodies, ConcurrentRangesGiveTheSame) {
  const std::vector<KelRun> runs = OverlappingRuns(64, 300);
  for (const int channels : {1, 2, 3, 4}) {
    const cv::Mat image = RandomImage(64, 300, CV_MAKETYPE(Bodies<TypeParam>::kDepth, channels));
    cv::Mat result = image.clone();
    const auto run_at_once = [&](const auto& body) {
      tbb::parallel_for(RowRange(0, static_cast<int>(runs.size())), body, tbb::auto_partitioner());
      std::vector<std::thread> threads;
      for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&body] { body(RowRange(0, 1)); });
      }
      for (std::thread& thread : threads) {
        thread.join();
      }
    };
    if (channels == 1) {
      run_at_once(tbbup::RegionValue<TypeParam>(result, 200, runs));
    } else {
      run_at_once(tbbup::RegionColorValue<TypeParam>(result, channels, 200, runs));
    }
    EXPECT_TRUE(SameImage(result, PaintedBy(image, runs, channels, 200)));
  }
}

// Images that begin and end anywhere in a word.
TYPED_TEST(RegionBodies, SetNothingAroundAnImageOfAnyAlignment) {
  const std::vector<KelRun> all = {{0, 0, 100}, {1, 0, 100}};
  for (int margin = 0; margin < 32; margin += static_cast<int>(sizeof(TypeParam))) {
    for (int columns = 1; columns <= 35; ++columns) {
      GuardedImage image(RandomImage(2, columns, Bodies<TypeParam>::kDepth), 0, margin);
      tbbup::RegionValue<TypeParam>(image.Mat(), 99, all)(RowRange(0, 2));
      ASSERT_TRUE(SameImage(image.Mat(), cv::Mat(2, columns, image.Mat().type(), cv::Scalar(99))));
      ASSERT_TRUE(image.SurroundingsUntouched()) << margin << ", " << columns;
    }
  }
}

TYPED_TEST(RegionBodies, EveryRunOfARowIsSetWholeAndAlone) {
  constexpr int kColumns = 37;
  for (int margin = 0; margin < 8; margin += static_cast<int>(sizeof(TypeParam))) {
    for (int first = 0; first < kColumns; ++first) {
      for (int last = first; last < kColumns; ++last) {
        const std::vector<KelRun> run = {{0, first, last}};
        const cv::Mat pixels = RandomImage(1, kColumns, Bodies<TypeParam>::kDepth);
        GuardedImage image(pixels, 0, margin);
        tbbup::RegionValue<TypeParam>(image.Mat(), 99, run)(RowRange(0, 1));
        ASSERT_TRUE(SameImage(image.Mat(), PaintedBy(pixels, run, 1, 99)))
            << first << " to " << last;
      }
    }
  }
}

}  // namespace
}  // namespace kelra_test
