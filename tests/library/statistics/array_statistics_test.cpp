#include <KELRA/KelImageOperation.h>

#include <string>
#include <vector>

#include "array_statistics.h"
#include "every_instruction_set.h"
#include "fake_settings.h"
#include "recorded_log.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

KelImageArray ArrayOf(const std::vector<cv::Mat>& images) {
  KelImageArray array;
  for (const cv::Mat& image : images) {
    array.Append(KelImage(image));
  }
  return array;
}

std::vector<cv::Mat> RandomImages(int count, int rows, int columns, int type) {
  std::vector<cv::Mat> images;
  for (int i = 0; i < count; ++i) {
    images.push_back(RandomImage(rows, columns, type, static_cast<std::uint64_t>(i + 1)));
  }
  return images;
}

// The modes of the average, and two values that are none.
enum Statistic : int { kMaximum = 100, kMinimum = 101, kMode0 = 0, kMode1, kMode2, kMode3 };
constexpr Statistic kStatistics[] = {kMaximum, kMinimum, kMode0, kMode1, kMode2, kMode3};

bool DropsSmallest(Statistic statistic) { return statistic == kMode1 || statistic == kMode3; }
bool DropsLargest(Statistic statistic) { return statistic == kMode2 || statistic == kMode3; }

KelLong Compute(KelImageOperation& object, Statistic statistic, const std::vector<cv::Mat>& images,
                KelImage* dst) {
  KelImageArray array = ArrayOf(images);
  switch (statistic) {
    case kMaximum:
      return object.PixelMax(array, dst);
    case kMinimum:
      return object.PixelMin(array, dst);
    default:
      return object.PixelAverage(array, dst, statistic);
  }
}

cv::Mat Model(Statistic statistic, const std::vector<cv::Mat>& images) {
  switch (statistic) {
    case kMaximum:
      return kelra_reference::Maximum(images);
    case kMinimum:
      return kelra_reference::Minimum(images);
    default:
      return kelra_reference::Rounded(
          kelra_reference::Mean(images, DropsSmallest(statistic), DropsLargest(statistic)),
          images[0].depth());
  }
}

class ArrayStatisticsOnEverySet : public EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(ArrayStatisticsOnEverySet);

TEST_P(ArrayStatisticsOnEverySet, AreTheModelsForEveryWidthTypeAndStride) {
  for (const int type : kPixelTypes) {
    for (int columns = 1; columns <= 70; ++columns) {
      const int gap = columns % 3 * 4;
      GuardedImage first(RandomImage(3, columns, type, 1), gap, gap);
      GuardedImage second(RandomImage(3, columns, type, 2), 2 * gap, 2);
      GuardedImage third(RandomImage(3, columns, type, 3), 0, 0);
      const std::vector<cv::Mat> images = {first.Mat(), second.Mat(), third.Mat()};
      for (const Statistic statistic : kStatistics) {
        GuardedImage result(RandomImage(3, columns, type, 9), gap, gap);
        KelImage dst(result.Mat());
        KelImageOperation object;
        ASSERT_EQ(Compute(object, statistic, images, &dst), STATUS_OK);
        ASSERT_TRUE(SameImage(result.Mat(), Model(statistic, images)))
            << statistic << ' ' << TypeName(type) << ' ' << columns;
        ASSERT_TRUE(result.SurroundingsUntouched());
      }
      ASSERT_TRUE(first.SurroundingsUntouched());
      ASSERT_TRUE(second.SurroundingsUntouched());
    }
  }
}

TEST_P(ArrayStatisticsOnEverySet, AreTheModelsForEveryCountOnImagesOfSeveralTiles) {
  for (const cv::Size size : {cv::Size(5000, 3), cv::Size(300, 50)}) {
    for (const int type : {CV_8UC1, CV_16UC3}) {
      for (const int count : {3, 4, 9}) {
        std::vector<cv::Mat> images = RandomImages(count, size.height, size.width + 5, type);
        images[1] = images[1].clone();
        for (const bool strided : {false, true}) {
          for (cv::Mat& image : images) {
            image = image.colRange(0, size.width);
            if (!strided) {
              image = image.clone();
            }
          }
          for (const Statistic statistic : kStatistics) {
            KelImage dst;
            KelImageOperation object;
            ASSERT_EQ(Compute(object, statistic, images, &dst), STATUS_OK);
            ASSERT_TRUE(SameImage(dst.Mat(), Model(statistic, images))) << statistic;
          }
          images = RandomImages(count, size.height, size.width + 5, type);
        }
      }
    }
  }
}

TEST_P(ArrayStatisticsOnEverySet, AreThoseOfTheStepsInOpenCv) {
  for (const int type : kPixelTypes) {
    const int result_type = type;
    const int float_type = CV_32FC(CV_MAT_CN(type));
    for (const int count : {3, 7, 30}) {
      const std::vector<cv::Mat> images = RandomImages(count, 31, 67, type);
      cv::Mat largest = cv::Mat::zeros(31, 67, type);
      cv::Mat smallest(31, 67, type,
                       cv::Scalar::all(type == CV_8UC1 || type == CV_8UC3 ? 255 : 65535));
      cv::Mat sum = cv::Mat::zeros(31, 67, float_type);
      for (const cv::Mat& image : images) {
        cv::Mat converted;
        image.convertTo(converted, float_type);
        sum = sum + converted;
        largest = cv::max(largest, image);
        smallest = cv::min(smallest, image);
      }
      cv::Mat smallest_as_floats;
      cv::Mat largest_as_floats;
      smallest.convertTo(smallest_as_floats, float_type);
      largest.convertTo(largest_as_floats, float_type);
      for (const Statistic statistic : kStatistics) {
        cv::Mat expected;
        if (statistic == kMaximum || statistic == kMinimum) {
          expected = statistic == kMaximum ? largest : smallest;
        } else {
          cv::Mat mean = sum.clone();
          int divisor = count;
          if (DropsLargest(statistic)) {
            mean = mean - largest_as_floats;
            --divisor;
          }
          if (DropsSmallest(statistic)) {
            mean = mean - smallest_as_floats;
            --divisor;
          }
          mean = mean / static_cast<double>(divisor);
          mean.convertTo(expected, result_type);
        }
        KelImage dst;
        KelImageOperation object;
        ASSERT_EQ(Compute(object, statistic, images, &dst), STATUS_OK);
        EXPECT_TRUE(SameImage(dst.Mat(), expected)) << statistic << ' ' << count;
      }
    }
  }
}

TEST_P(ArrayStatisticsOnEverySet, SumManyLargeSamplesInSinglePrecisionInTheImagesOrder) {
  // Beyond 2^24 a float cannot hold every integer, so the order of the images matters.
  std::vector<cv::Mat> images = RandomImages(600, 2, 33, CV_16UC1);
  for (cv::Mat& image : images) {
    image |= cv::Scalar(0x8001);
  }
  for (const Statistic statistic : kStatistics) {
    KelImage dst;
    KelImageOperation object;
    ASSERT_EQ(Compute(object, statistic, images, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), Model(statistic, images))) << statistic;
  }
}

TEST_P(ArrayStatisticsOnEverySet, SumAsManyImagesAsIntegersHoldAndMore) {
  for (const int type : {CV_8UC1, CV_16UC1}) {
    const int largest = type == CV_8UC1 ? 255 : 65535;
    for (const int count : {255, 256, 257, 258, 300}) {
      std::vector<cv::Mat> images = RandomImages(count, 3, 70, type);
      for (cv::Mat& image : images) {
        image.row(0).setTo(largest);
        image.row(1) |= cv::Scalar(largest & 0xFF01);
      }
      for (const Statistic statistic : kStatistics) {
        KelImage dst;
        KelImageOperation object;
        ASSERT_EQ(Compute(object, statistic, images, &dst), STATUS_OK);
        EXPECT_TRUE(SameImage(dst.Mat(), Model(statistic, images))) << statistic << ' ' << count;
      }
    }
  }
}

TEST(ArrayStatistics, GiveTheSameBytesWithEveryParallelSetting) {
  const std::vector<cv::Mat> images = RandomImages(5, 131, 657, CV_8UC3);
  for (const Statistic statistic : kStatistics) {
    const cv::Mat expected = Model(statistic, images);
    for (const int parallel : ParallelSettingsFor(131)) {
      const ScopedSettings settings({.parallel = parallel});
      KelImage dst;
      KelImageOperation object;
      ASSERT_EQ(Compute(object, statistic, images, &dst), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), expected)) << statistic << ' ' << parallel;
    }
  }
}

cv::Mat Constant(int value) { return cv::Mat(4, 5, CV_8UC1, cv::Scalar(value)); }

TEST(PixelAverage, RoundsTiesToTheEvenInteger) {
  KelImageOperation object;
  KelImage dst;
  ASSERT_EQ(Compute(object, kMode0, {Constant(10), Constant(13)}, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), Constant(12)));
  ASSERT_EQ(Compute(object, kMode0, {Constant(11), Constant(14)}, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), Constant(12)));
  ASSERT_EQ(Compute(object, kMode1, {Constant(10), Constant(13)}, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), Constant(13)));
  ASSERT_EQ(Compute(object, kMode2, {Constant(10), Constant(13)}, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), Constant(10)));
}

TEST(PixelAverage, LeavesOutOneValueOfSeveralEqualOnes) {
  KelImageOperation object;
  KelImage dst;
  ASSERT_EQ(Compute(object, kMode1, {Constant(5), Constant(5), Constant(9)}, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), Constant(7)));
}

TEST(ArrayStatistics, OfOneImageAreItsValues) {
  for (const int type : kPixelTypes) {
    const cv::Mat image = RandomImage(7, 19, type);
    for (const Statistic statistic : {kMaximum, kMinimum, kMode0}) {
      KelImageOperation object;
      KelImage dst;
      ASSERT_EQ(Compute(object, statistic, {image}, &dst), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), image));
      EXPECT_NE(dst.ImageData(), image.data);
    }
  }
}

TEST(PixelMin, OfTheLargestSamplesIsTheLargestSample) {
  const cv::Mat image(3, 4, CV_16UC3, cv::Scalar::all(65535));
  KelImageOperation object;
  KelImage dst;
  ASSERT_EQ(Compute(object, kMinimum, {image, image}, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), image));
}

TEST(ArrayStatistics, MayBeWrittenOverAnyInput) {
  const std::vector<cv::Mat> images = RandomImages(4, 9, 33, CV_8UC1);
  for (const Statistic statistic : kStatistics) {
    const cv::Mat expected = Model(statistic, images);
    for (int output = 0; output < 4; ++output) {
      KelImageArray array;
      for (const cv::Mat& image : images) {
        array.Append(KelImage(image.clone()));
      }
      KelImage& dst = array[output];
      KelImageOperation object;
      const KelLong status = statistic == kMaximum   ? object.PixelMax(array, &dst)
                             : statistic == kMinimum ? object.PixelMin(array, &dst)
                                                     : object.PixelAverage(array, &dst, statistic);
      ASSERT_EQ(status, STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), expected)) << statistic << ' ' << output;
    }
    cv::Mat memory = RandomImage(20, 33, CV_8UC1);
    const std::vector<cv::Mat> overlapping = {memory.rowRange(0, 9), memory.rowRange(3, 12),
                                              memory.rowRange(8, 17)};
    const cv::Mat expected_of_overlapping = Model(statistic, overlapping);
    KelImage dst(memory.rowRange(2, 11));
    KelImageOperation object;
    ASSERT_EQ(Compute(object, statistic, overlapping, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), expected_of_overlapping)) << statistic;
  }
}

struct Refusal {
  const char* what;
  std::vector<cv::Mat> images;
  int mode;
  KelLong extreme;
  KelLong average;
};

// Two faults at once tell the order of the checks.
std::vector<Refusal> Refusals() {
  const cv::Mat good = Constant(1);
  const cv::Mat words(4, 5, CV_16UC1, cv::Scalar(1));
  const cv::Mat colour(4, 5, CV_8UC3, cv::Scalar::all(1));
  const cv::Mat four(4, 5, CV_8UC4, cv::Scalar::all(1));
  const cv::Mat floats(4, 5, CV_32FC4, cv::Scalar::all(1));
  const cv::Mat wide(4, 6, CV_8UC1, cv::Scalar(1));
  const cv::Mat high(5, 5, CV_8UC1, cv::Scalar(1));
  const cv::Mat empty(0, 5, CV_32FC1);
  cv::Mat without_memory(4, 5, CV_8UC1);
  without_memory.data = nullptr;
  return {
      {"none, mode", {}, 4, ERR_COUNT_LIMIT, ERR_COUNT_LIMIT},
      {"empty, mode", {empty}, 4, ERR_IMAGE_EMPTY, ERR_IMAGE_EMPTY},
      {"mode, depth", {floats}, 4, ERR_BIT_DEPTH, ERR_PARAM_2},
      {"negative mode, depth", {floats}, -1, ERR_BIT_DEPTH, ERR_PARAM_2},
      {"depth, channels", {floats}, 0, ERR_BIT_DEPTH, ERR_BIT_DEPTH},
      {"channels, depths", {four, words}, 0, ERR_CHANNEL_COUNT, ERR_CHANNEL_COUNT},
      {"depths, widths",
       {good, cv::Mat(4, 6, CV_16UC1)},
       0,
       ERR_DEPTH_MISMATCH,
       ERR_AVG_SIZE_MISMATCH},
      {"depths, channels",
       {good, cv::Mat(4, 5, CV_16UC3)},
       0,
       ERR_DEPTH_MISMATCH,
       ERR_AVG_DEPTH_MISMATCH},
      {"widths, heights",
       {good, cv::Mat(5, 6, CV_8UC1)},
       0,
       ERR_WIDTH_MISMATCH,
       ERR_AVG_SIZE_MISMATCH},
      {"heights, channels",
       {good, cv::Mat(5, 5, CV_8UC3)},
       0,
       ERR_HEIGHT_MISMATCH,
       ERR_AVG_SIZE_MISMATCH},
      {"channels", {good, good, colour}, 0, ERR_CHANNEL_MISMATCH, ERR_AVG_CHANNEL_MISMATCH},
      {"the first that differs decides",
       {good, high, wide},
       0,
       ERR_HEIGHT_MISMATCH,
       ERR_AVG_SIZE_MISMATCH},
      {"a later one is empty", {good, cv::Mat()}, 0, ERR_WIDTH_MISMATCH, ERR_AVG_SIZE_MISMATCH},
      {"a later one has no memory", {good, without_memory}, 0, ERR_IMAGE_EMPTY, ERR_IMAGE_EMPTY},
      {"size, too few", {good, wide}, 3, ERR_WIDTH_MISMATCH, ERR_AVG_SIZE_MISMATCH},
      {"too few for mode 1", {good}, 1, STATUS_OK, ERR_COUNT_LIMIT},
      {"too few for mode 2", {good}, 2, STATUS_OK, ERR_COUNT_LIMIT},
      {"too few for mode 3", {good, good}, 3, STATUS_OK, ERR_COUNT_LIMIT},
  };
}

class ArrayStatisticsInEfficiencyMode : public ::testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(, ArrayStatisticsInEfficiencyMode, ::testing::Values(0, 1));

TEST_P(ArrayStatisticsInEfficiencyMode, ReportTheFirstFailingCheckAndLeaveTheOutputAlone) {
  const ScopedSettings settings({.efficiency = GetParam()});
  for (const Refusal& refusal : Refusals()) {
    for (const Statistic statistic : {kMaximum, kMinimum, static_cast<Statistic>(refusal.mode)}) {
      const KelLong expected =
          statistic == kMaximum || statistic == kMinimum ? refusal.extreme : refusal.average;
      const cv::Mat before = Constant(3);
      KelImage dst(before);
      KelImageOperation object;
      KelImageArray array = ArrayOf(refusal.images);
      const bool average =
          statistic == refusal.mode && !(statistic == kMinimum && refusal.mode != -1);
      RecordedLog log;
      const auto run = [&](KelImage* output) {
        return statistic == kMaximum ? object.PixelMax(array, output)
               : average             ? object.PixelAverage(array, output, refusal.mode)
                                     : object.PixelMin(array, output);
      };
      EXPECT_EQ(run(&dst), expected) << refusal.what << ' ' << statistic;
      if (expected != STATUS_OK) {
        EXPECT_EQ(dst.ImageData(), before.data) << refusal.what;
        EXPECT_EQ(log.Take().size(), 1U) << refusal.what;
      }
      EXPECT_EQ(run(nullptr), expected != STATUS_OK ? expected : ERR_IMAGE_EMPTY) << refusal.what;
    }
  }
}

TEST(ArrayStatistics, LogTheirStartAndExit) {
  struct {
    Statistic statistic;
    const char* name;
    int start;
    int exit;
  } const kCases[] = {{kMaximum, "PixelMax", 8056, 8134},
                      {kMinimum, "PixelMin", 8146, 8223},
                      {kMode3, "PixelAverage", 8233, 8513}};
  for (const auto& test : kCases) {
    KelImageOperation object;
    KelImage dst;
    RecordedLog log;
    ASSERT_EQ(Compute(object, test.statistic, {Constant(1), Constant(2), Constant(3)}, &dst),
              STATUS_OK);
    EXPECT_EQ(log.Take(),
              (std::vector{StartRecord(test.name, test.start), ExitRecord(test.name, test.exit)}));
    ASSERT_NE(Compute(object, test.statistic, {}, &dst), STATUS_OK);
    EXPECT_EQ(log.Take(), std::vector{StartRecord(test.name, test.start)});
  }
  EXPECT_EQ(OpenLoggers(), 0);
}

class EfficientArrayStatistics : public ::testing::Test {
 protected:
  cv::Mat Result(Statistic statistic, const std::vector<cv::Mat>& images) {
    KelImage dst;
    EXPECT_EQ(Compute(object_, statistic, images, &dst), STATUS_OK);
    return dst.Mat();
  }

  ScopedSettings settings_{{.efficiency = 1}};
  KelImageOperation object_;
};

TEST_F(EfficientArrayStatistics, StartFromZerosInANewBuffer) {
  const std::vector<cv::Mat> images = RandomImages(3, 9, 33, CV_8UC3);
  for (const Statistic statistic : kStatistics) {
    KelImageOperation object;
    KelImage dst;
    ASSERT_EQ(Compute(object, statistic, images, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), Model(statistic, images))) << statistic;
  }
}

TEST_F(EfficientArrayStatistics, StartFromZerosInABufferOfAnotherSize) {
  for (const Statistic statistic : kStatistics) {
    KelImageOperation object;
    KelImage dst;
    ASSERT_EQ(Compute(object, statistic, RandomImages(3, 9, 33, CV_8UC1), &dst), STATUS_OK);
    const std::vector<cv::Mat> images = RandomImages(3, 8, 31, CV_8UC1);
    ASSERT_EQ(Compute(object, statistic, images, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), Model(statistic, images))) << statistic;
  }
}

TEST_F(EfficientArrayStatistics, MaximumIncludesTheBuffersPreviousPixels) {
  const cv::Mat first = Result(kMaximum, {Constant(90)});
  const cv::Mat second = Result(kMaximum, {Constant(40), Constant(50)});
  EXPECT_TRUE(SameImage(second, Constant(90)));
  EXPECT_EQ(first.data, second.data);
  EXPECT_TRUE(SameImage(Result(kMaximum, {Constant(100)}), Constant(100)));
}

TEST_F(EfficientArrayStatistics, MinimumIgnoresTheBuffersPreviousPixelsAndSharesThem) {
  const cv::Mat first = Result(kMinimum, {Constant(20)});
  const cv::Mat second = Result(kMinimum, {Constant(40), Constant(50)});
  EXPECT_TRUE(SameImage(second, Constant(40)));
  EXPECT_EQ(first.data, second.data);
}

TEST_F(EfficientArrayStatistics, AverageAddsToThePreviousMeansAndNeverSharesThem) {
  const cv::Mat first = Result(kMode0, {Constant(10), Constant(13)});  // 11.5
  EXPECT_TRUE(SameImage(first, Constant(12)));
  const cv::Mat second = Result(kMode0, {Constant(20), Constant(21)});  // (11.5 + 41) / 2
  EXPECT_TRUE(SameImage(second, Constant(26)));
  EXPECT_TRUE(SameImage(first, Constant(12)));
  EXPECT_NE(first.data, second.data);
}

TEST_F(EfficientArrayStatistics, AverageIsTheModelsFromTheBuffersPreviousMeans) {
  for (const int type : kPixelTypes) {
    for (const Statistic statistic : {kMode0, kMode1, kMode2, kMode3}) {
      KelImageOperation object;
      cv::Mat means;
      for (int call = 0; call < 3; ++call) {
        const std::vector<cv::Mat> images = RandomImages(3 + call, 9, 70, type);
        means =
            kelra_reference::Mean(images, DropsSmallest(statistic), DropsLargest(statistic), means);
        KelImage dst;
        ASSERT_EQ(Compute(object, statistic, images, &dst), STATUS_OK);
        EXPECT_TRUE(SameImage(dst.Mat(), kelra_reference::Rounded(means, images[0].depth())))
            << TypeName(type) << ' ' << statistic << ' ' << call;
      }
    }
  }
}

TEST_F(EfficientArrayStatistics, AverageConvertsTheBufferOfAnotherDepthAndKeepsItsOwner) {
  const cv::Mat minimum = Result(kMinimum, {Constant(30)});
  EXPECT_TRUE(SameImage(Result(kMode0, {Constant(10)}), Constant(40)));
  EXPECT_TRUE(SameImage(minimum, Constant(30)));
}

TEST_F(EfficientArrayStatistics, AverageStartsFromZerosInABufferOfOtherChannels) {
  Result(kMinimum, {Constant(30)});
  const cv::Mat colour(4, 5, CV_8UC3, cv::Scalar(1, 2, 3));
  EXPECT_TRUE(SameImage(Result(kMode0, {colour}), colour));
}

TEST_F(EfficientArrayStatistics, MaximumThrowsOnceWhereTheBufferHasTheSizeButAnotherType) {
  for (const int other : {CV_16UC1, CV_8UC3}) {
    KelImageOperation object;
    const cv::Mat wide(4, 5, other, cv::Scalar::all(300));
    const cv::Mat before = Constant(3);
    KelImage dst(before);
    ASSERT_EQ(Compute(object, kMinimum, {wide}, &dst), STATUS_OK);
    dst = KelImage(before);
    try {
      static_cast<void>(Compute(object, kMaximum, {Constant(7), cv::Mat(9, 9, CV_8UC1)}, &dst));
      ADD_FAILURE() << "no exception";
    } catch (const cv::Exception& exception) {
      EXPECT_EQ(exception.code, cv::Error::StsUnmatchedSizes);
    }
    EXPECT_EQ(dst.ImageData(), before.data);
    // Converted where the channels allow it.
    ASSERT_EQ(Compute(object, kMaximum, {Constant(7)}, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), Constant(other == CV_16UC1 ? 255 : 7)));
  }
}

TEST_F(EfficientArrayStatistics, MinimumReplacesABufferOfAnotherType) {
  Result(kMinimum, {cv::Mat(4, 5, CV_16UC3, cv::Scalar::all(3))});
  EXPECT_TRUE(SameImage(Result(kMinimum, {Constant(40), Constant(50)}), Constant(40)));
}

TEST_F(EfficientArrayStatistics, KeepAnInputThatIsAnEarlierResult) {
  for (const Statistic statistic : {kMaximum, kMinimum}) {
    KelImageOperation object;
    KelImage earlier;
    ASSERT_EQ(Compute(object, statistic, {Constant(60)}, &earlier), STATUS_OK);
    KelImage later;
    ASSERT_EQ(Compute(object, statistic, {Constant(70), earlier.Mat(), Constant(50)}, &later),
              STATUS_OK);
    EXPECT_TRUE(SameImage(later.Mat(), Constant(statistic == kMaximum ? 70 : 50)));
    EXPECT_TRUE(SameImage(earlier.Mat(), Constant(60)));
  }
}

TEST_F(EfficientArrayStatistics, LeaveTheBufferAloneWhenACheckFails) {
  const cv::Mat result = Result(kMinimum, {Constant(30)});
  KelImage dst;
  EXPECT_NE(Compute(object_, kMinimum, {Constant(1), cv::Mat(9, 9, CV_8UC1)}, &dst), STATUS_OK);
  EXPECT_NE(Compute(object_, kMode3, {Constant(1)}, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(result, Constant(30)));
  EXPECT_TRUE(SameImage(Result(kMaximum, {Constant(20)}), Constant(30)));
}

}  // namespace
}  // namespace kelra_test
