#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "every_instruction_set.h"
#include "recorded_log.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

constexpr KelImageType kImageTypes[] = {KEL_8U,  KEL_8S,  KEL_16U, KEL_16S,
                                        KEL_32S, KEL_32F, KEL_64F};

std::vector<std::uint8_t> NumberedBytes(std::size_t count) {
  std::vector<std::uint8_t> bytes(count);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
  return bytes;
}

TEST(ImageConvert, TheImageShowsWhatChangesInTheBuffer) {
  std::vector<std::uint8_t> buffer = NumberedBytes(12);
  KelImageOperation op;
  KelImage image;
  ASSERT_EQ(op.ImageConvert(buffer.data(), &image, 3, 4, KEL_8U, 1, 0), STATUS_OK);
  EXPECT_EQ(image.ImageData(), buffer.data());
  EXPECT_EQ(image.Mat().at<std::uint8_t>(2, 3), 12);
  buffer[11] = 200;
  EXPECT_EQ(image.Mat().at<std::uint8_t>(2, 3), 200);
  image.Mat().at<std::uint8_t>(0, 1) = 99;
  EXPECT_EQ(buffer[1], 99);

  const KelImage kept = image.DeepCopy();
  buffer[11] = 7;
  EXPECT_EQ(kept.Mat().at<std::uint8_t>(2, 3), 200);
}

TEST(ImageConvert, RowsArePackedWhateverTheStride) {
  for (const KelImageType type : kImageTypes) {
    for (const int channels : {1, 3, 4}) {
      const std::size_t sample = CV_ELEM_SIZE1(type);
      const std::size_t row_bytes = 4 * static_cast<std::size_t>(channels) * sample;
      std::vector<std::uint8_t> buffer = NumberedBytes(3 * row_bytes);
      for (const int stride : {0, 1, 5, static_cast<int>(row_bytes), INT_MAX}) {
        KelImageOperation op;
        KelImage image;
        ASSERT_EQ(op.ImageConvert(buffer.data(), &image, 3, 4, type, channels, stride), STATUS_OK);
        EXPECT_EQ(image.Width(), 4);
        EXPECT_EQ(image.Height(), 3);
        EXPECT_EQ(image.Channels(), channels);
        EXPECT_EQ(image.BitDepth(), type);
        EXPECT_EQ(image.Mat().step[0], row_bytes);
        EXPECT_EQ(BytesOf(image.Mat()), buffer);
      }
    }
  }
}

TEST(ImageConvert, ReplacesAViewOfTheSameBuffer) {
  std::vector<std::uint8_t> buffer = NumberedBytes(12);
  KelImageOperation op;
  KelImage image;
  ASSERT_EQ(op.ImageConvert(buffer.data(), &image, 3, 4, KEL_8U, 1, 0), STATUS_OK);
  ASSERT_EQ(op.ImageConvert(buffer.data(), &image, 2, 1, KEL_16U, 3, 0), STATUS_OK);
  EXPECT_EQ(image.Height(), 2);
  EXPECT_EQ(image.Width(), 1);
  EXPECT_EQ(image.Mat().type(), CV_16UC3);
  EXPECT_EQ(BytesOf(image.Mat()), buffer);
}

TEST(ImageConvert, LeavesTheFormerPixelsOfTheOutputAlone) {
  const cv::Mat former = RandomImage(3, 4, CV_8UC1);
  std::vector<std::uint8_t> buffer = NumberedBytes(12);
  KelImageOperation op;
  KelImage image(former);
  ASSERT_EQ(op.ImageConvert(buffer.data(), &image, 3, 4, KEL_8U, 1, 0), STATUS_OK);
  EXPECT_EQ(image.ImageData(), buffer.data());
  EXPECT_TRUE(SameImage(former, RandomImage(3, 4, CV_8UC1)));
}

struct ConvertCase {
  bool has_buffer;
  bool has_output;
  int height;
  int width;
  int type;
  int channels;
  int stride;
  KelLong status;
};

TEST(ImageConvert, ChecksInItsOrder) {
  const std::vector<ConvertCase> cases = {
      {false, false, 0, 0, 7, 2, -1, ERR_PARAM_1},
      {true, false, 0, 0, 7, 2, -1, ERR_PARAM_2},
      {true, true, INT_MIN, 4, 0, 1, 0, ERR_PARAM_2},
      {true, false, 3, 0, 7, 2, -1, ERR_PARAM_3},
      {true, true, 3, INT_MIN, 0, 1, 0, ERR_PARAM_3},
      {true, false, 3, 4, 7, 2, -1, ERR_PARAM_5},
      {true, true, 3, 4, 0, 0, 0, ERR_PARAM_5},
      {true, true, 3, 4, 0, 5, 0, ERR_PARAM_5},
      {true, true, 3, 4, 0, -1, 0, ERR_PARAM_5},
      {true, false, 3, 4, 7, 1, -1, ERR_PARAM_4},
      {true, true, 3, 4, -1, 1, 0, ERR_PARAM_4},
      {true, true, 3, 4, INT_MAX, 1, 0, ERR_PARAM_4},
      {true, true, 3, 4, INT_MIN, 1, 0, ERR_PARAM_4},
      {true, false, 3, 4, 0, 1, -1, ERR_PARAM_6},
      {true, true, 3, 4, 0, 1, INT_MIN, ERR_PARAM_6},
      {true, false, 3, 4, 0, 1, 0, ERR_IMAGE_EMPTY},
      {true, true, 3, 4, 0, 1, 0, STATUS_OK},
  };
  RecordedLog log;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const ConvertCase& c = cases[i];
    std::vector<std::uint8_t> buffer = NumberedBytes(12);
    const cv::Mat before = RandomImage(2, 2, CV_16UC3);
    KelImage dst(before);
    KelImageOperation op;
    EXPECT_EQ(
        op.ImageConvert(c.has_buffer ? buffer.data() : nullptr, c.has_output ? &dst : nullptr,
                        c.height, c.width, static_cast<KelImageType>(c.type), c.channels, c.stride),
        c.status);
    std::vector<LogRecord> records = {StartRecord("ImageConvert", 7346)};
    if (c.status == STATUS_OK) {
      records.push_back(ExitRecord("ImageConvert", 7392));
    } else {
      EXPECT_EQ(dst.ImageData(), before.data);
    }
    EXPECT_EQ(log.Take(), records);
  }
}

// Rounded half to even and saturated, in double: exact for every sample of every type up to here.
double Saturated(double value, KelImageType type) {
  struct Range {
    double lowest;
    double highest;
  };
  constexpr Range kRanges[] = {
      {0, 255}, {-128, 127}, {0, 65535}, {-32768, 32767}, {-2147483648.0, 2147483647.0}};
  if (type == KEL_32F) {
    return static_cast<float>(value);
  }
  if (type == KEL_64F) {
    return value;
  }
  return std::min(std::max(std::nearbyint(value), kRanges[type].lowest), kRanges[type].highest);
}

double AsDouble(const cv::Mat& mat, int row, int sample) {
  switch (mat.depth()) {
    case CV_8U:
      return mat.ptr<std::uint8_t>(row)[sample];
    case CV_8S:
      return mat.ptr<std::int8_t>(row)[sample];
    case CV_16U:
      return mat.ptr<std::uint16_t>(row)[sample];
    case CV_16S:
      return mat.ptr<std::int16_t>(row)[sample];
    case CV_32S:
      return mat.ptr<std::int32_t>(row)[sample];
    case CV_32F:
      return mat.ptr<float>(row)[sample];
    default:
      return mat.ptr<double>(row)[sample];
  }
}

// Samples inside and outside the range of every smaller type, with halves where there are any.
cv::Mat VariedSamples(int rows, int columns, int type) {
  cv::Mat halves(rows, columns * CV_MAT_CN(type), CV_64FC1);
  constexpr double kSteps[] = {0,     0.5,     1,     1.5,   2.5,    -0.5,  -1.5, -3,
                               127,   128,     200,   254.5, 255.5,  256,   1000, 32767,
                               32768, 65534.5, 65535, 70000, -128.5, -40000};
  int next = 0;
  for (int row = 0; row < rows; ++row) {
    for (int i = 0; i < halves.cols; ++i) {
      halves.at<double>(row, i) =
          Saturated(kSteps[next++ % 22], static_cast<KelImageType>(CV_MAT_DEPTH(type)));
    }
  }
  cv::Mat samples;
  halves.convertTo(samples, CV_MAT_DEPTH(type));
  return samples.reshape(CV_MAT_CN(type));
}

TEST(ImageDepthConvert, RoundsAndSaturatesBetweenAllTypes) {
  for (const KelImageType from : kImageTypes) {
    for (const KelImageType to : kImageTypes) {
      for (const int channels : {1, 2, 3, 5}) {
        for (const int columns : {1, 7, 40, 67}) {
          KelImageOperation op;
          KelImage src(VariedSamples(4, columns, CV_MAKETYPE(from, channels)));
          KelImage dst;
          ASSERT_EQ(op.ImageDepthConvert(src, &dst, to), STATUS_OK);
          ASSERT_EQ(dst.Mat().type(), CV_MAKETYPE(to, channels));
          ASSERT_EQ(dst.Mat().size(), src.Mat().size());
          for (int row = 0; row < 4; ++row) {
            for (int i = 0; i < columns * channels; ++i) {
              ASSERT_EQ(AsDouble(dst.Mat(), row, i), Saturated(AsDouble(src.Mat(), row, i), to))
                  << from << " to " << to << ": " << AsDouble(src.Mat(), row, i);
            }
          }
        }
      }
    }
  }
}

class DepthConversion : public EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(DepthConversion);

// Samples of 16 bits whose value a byte holds about as often as not.
cv::Mat WordsAroundBytes(int rows, int columns) {
  cv::Mat words = RandomImage(rows, columns, CV_16UC1);
  cv::Mat upper_half = RandomImage(rows, columns, CV_8UC1, 2) >= 128;
  cv::Mat bytes = words & cv::Scalar(0x1FF);
  bytes.copyTo(words, upper_half);
  return words;
}

TEST_P(DepthConversion, KeepsOrSaturatesEverySampleAtEveryWidth) {
  for (int columns = 1; columns <= 140; ++columns) {
    for (const int gap : {0, 6}) {
      GuardedImage words(WordsAroundBytes(3, columns), gap, 4);
      GuardedImage bytes(RandomImage(3, columns, CV_8UC1), gap, 3);
      cv::Mat expected_bytes;
      cv::Mat expected_words;
      words.Mat().convertTo(expected_bytes, CV_8U);
      bytes.Mat().convertTo(expected_words, CV_16U);
      GuardedImage narrowed(cv::Mat::zeros(3, columns, CV_8UC1), gap, 5);
      GuardedImage widened(cv::Mat::zeros(3, columns, CV_16UC1), gap, 6);
      KelImageOperation op;
      KelImage src(words.Mat());
      KelImage dst(narrowed.Mat());
      ASSERT_EQ(op.ImageDepthConvert(src, &dst, KEL_8U), STATUS_OK);
      src = KelImage(bytes.Mat());
      dst = KelImage(widened.Mat());
      ASSERT_EQ(op.ImageDepthConvert(src, &dst, KEL_16U), STATUS_OK);
      ASSERT_TRUE(SameImage(narrowed.Mat(), expected_bytes)) << columns;
      ASSERT_TRUE(SameImage(widened.Mat(), expected_words)) << columns;
      for (const GuardedImage* image : {&words, &bytes, &narrowed, &widened}) {
        ASSERT_TRUE(image->SurroundingsUntouched());
      }
    }
  }
}

// Larger than the caches, which is written past them.
TEST_P(DepthConversion, OfALargeImageGivesTheSame) {
  constexpr int kRows = 3001;
  constexpr int kColumns = 4099;
  KelImageOperation op;
  KelImage words(WordsAroundBytes(kRows, kColumns));
  cv::Mat expected;
  words.Mat().convertTo(expected, CV_8U);
  KelImage bytes;
  ASSERT_EQ(op.ImageDepthConvert(words, &bytes, KEL_8U), STATUS_OK);
  EXPECT_TRUE(SameImage(bytes.Mat(), expected));
  bytes.Mat().convertTo(expected, CV_16U);
  ASSERT_EQ(op.ImageDepthConvert(bytes, &words, KEL_16U), STATUS_OK);
  EXPECT_TRUE(SameImage(words.Mat(), expected));
}

TEST(ImageDepthConvert, NeverRescales) {
  KelImageOperation op;
  KelImage deep(cv::Mat(1, 1, CV_16UC1, cv::Scalar(1000)));
  KelImage shallow(cv::Mat(1, 1, CV_8UC1, cv::Scalar(200)));
  KelImage dst;
  ASSERT_EQ(op.ImageDepthConvert(deep, &dst, KEL_8U), STATUS_OK);
  EXPECT_EQ(dst.Mat().at<std::uint8_t>(0, 0), 255);
  ASSERT_EQ(op.ImageDepthConvert(shallow, &dst, KEL_16U), STATUS_OK);
  EXPECT_EQ(dst.Mat().at<std::uint16_t>(0, 0), 200);
}

TEST(ImageDepthConvert, WritesIntoAnOutputOfTheResultsSizeAndType) {
  GuardedImage input(RandomImage(4, 7, CV_16UC3), 6, 8);
  GuardedImage output(RandomImage(4, 7, CV_8UC3), 5, 3);
  KelImageOperation op;
  KelImage src(input.Mat());
  KelImage dst(output.Mat());
  ASSERT_EQ(op.ImageDepthConvert(src, &dst, KEL_8U), STATUS_OK);
  EXPECT_EQ(dst.ImageData(), output.Mat().data);
  cv::Mat expected;
  input.Mat().convertTo(expected, CV_8U);
  EXPECT_TRUE(SameImage(output.Mat(), expected));
  EXPECT_TRUE(input.SurroundingsUntouched());
  EXPECT_TRUE(output.SurroundingsUntouched());
}

TEST(ImageDepthConvert, TheOutputMayBeTheInput) {
  for (const KelImageType to : kImageTypes) {
    KelImageOperation op;
    KelImage image(RandomImage(5, 9, CV_16UC1));
    cv::Mat expected;
    image.Mat().convertTo(expected, to);
    const KelImage kept = image;
    ASSERT_EQ(op.ImageDepthConvert(image, &image, to), STATUS_OK);
    EXPECT_EQ(BytesOf(image.Mat()), BytesOf(expected));
    EXPECT_TRUE(SameImage(kept.Mat(), RandomImage(5, 9, CV_16UC1)));
  }
}

// One memory seen as samples of two sizes.
TEST(ImageDepthConvert, TheOutputMayShareTheInputsMemory) {
  std::vector<std::uint8_t> memory(80);
  cv::Mat words(1, 32, CV_16UC1, memory.data() + 8);
  RandomImage(1, 32, CV_16UC1).copyTo(words);
  KelImageOperation op;
  KelImage src(words);
  KelImage dst(cv::Mat(1, 32, CV_8UC1, memory.data() + 8 + 20));
  cv::Mat expected;
  words.convertTo(expected, CV_8U);
  ASSERT_EQ(op.ImageDepthConvert(src, &dst, KEL_8U), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), expected));
}

struct DepthCase {
  cv::Mat image;
  int type;
  bool has_output;
  KelLong status;
};

TEST(ImageDepthConvert, ChecksInItsOrder) {
  const cv::Mat grey = RandomImage(4, 6, CV_8UC1);
  const std::vector<DepthCase> cases = {
      {cv::Mat(), 7, false, ERR_IMAGE_EMPTY}, {cv::Mat(0, 10, CV_8UC1), 0, true, ERR_IMAGE_EMPTY},
      {grey, 7, false, ERR_PARAM_1},          {grey, -1, true, ERR_PARAM_1},
      {grey, INT_MIN, true, ERR_PARAM_1},     {grey, INT_MAX, true, ERR_PARAM_1},
      {grey, 6, false, ERR_IMAGE_EMPTY},      {grey, 6, true, STATUS_OK},
  };
  RecordedLog log;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const DepthCase& c = cases[i];
    KelImageOperation op;
    KelImage image(c.image);
    const cv::Mat before = RandomImage(3, 3, CV_8UC3);
    KelImage dst(before);
    EXPECT_EQ(op.ImageDepthConvert(image, c.has_output ? &dst : nullptr,
                                   static_cast<KelImageType>(c.type)),
              c.status);
    std::vector<LogRecord> records = {StartRecord("ImageDepthConvert", 7488)};
    if (c.status == STATUS_OK) {
      records.push_back(ExitRecord("ImageDepthConvert", 7504));
    } else {
      EXPECT_EQ(dst.ImageData(), before.data);
    }
    EXPECT_EQ(log.Take(), records);
  }
}

}  // namespace
}  // namespace kelra_test
