#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "access.h"
#include "recorded_log.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

constexpr double kUntouched = -7.5;

// What is read; the value from before when nothing is.
double Get(KelImage image, int row, int column, int channel) {
  KelImageOperation op;
  double value = kUntouched;
  EXPECT_EQ(op.GetPixelValue(image, row, column, channel, &value), STATUS_OK);
  return value;
}

TEST(GetPixelValue, ReadsEverySampleOfEveryTypeFromPaddedRows) {
  for (const int depth : {CV_8U, CV_16U}) {
    for (const int channels : {1, 2, 3, 4, 5, 7}) {
      const int type = CV_MAKETYPE(depth, channels);
      SCOPED_TRACE(TypeName(type));
      for (const int gap : {0, 6}) {
        GuardedImage guarded(RandomImage(5, 7, type), gap, 0);
        const cv::Mat& mat = guarded.Mat();
        for (int row = 0; row < mat.rows; ++row) {
          for (int column = 0; column < mat.cols; ++column) {
            for (int channel = 1; channel <= channels; ++channel) {
              const auto sample = AccessedSample(mat, column, channel, true);
              ASSERT_EQ(Get(KelImage(mat), row, column, channel),
                        sample ? SampleOf(mat, row, *sample) : kUntouched);
            }
          }
        }
      }
    }
  }
}

// The memory ends with the last pixel: a sanitizer sees a read behind it.
TEST(GetPixelValue, FourChannelsOf16BitsAreReadThreeApartAndNeverOutside) {
  for (int columns = 1; columns <= 70; ++columns) {
    GuardedImage guarded(RandomImage(1, columns, CV_16UC4), 0, 0);
    const cv::Mat& mat = guarded.Mat();
    for (int column = 0; column < columns; ++column) {
      for (int channel = 1; channel <= 4; ++channel) {
        ASSERT_LT(column * 3 + channel - 1, columns * 4);
        ASSERT_EQ(Get(KelImage(mat), 0, column, channel),
                  mat.ptr<std::uint16_t>()[column * 3 + channel - 1]);
      }
    }
  }
}

TEST(GetPixelValue, WidensTheLargestSamplesExactly) {
  EXPECT_EQ(Get(KelImage(cv::Mat(1, 1, CV_8UC1, cv::Scalar(200))), 0, 0, 1), 200.0);
  EXPECT_EQ(Get(KelImage(cv::Mat(1, 1, CV_8UC3, cv::Scalar(10, 20, 30))), 0, 0, 1), 10.0);
  EXPECT_EQ(Get(KelImage(cv::Mat(1, 1, CV_8UC3, cv::Scalar(10, 20, 30))), 0, 0, 3), 30.0);
  EXPECT_EQ(Get(KelImage(cv::Mat(1, 1, CV_16UC1, cv::Scalar(65535))), 0, 0, 1), 65535.0);
}

// Rows beyond 4 GiB from the first, without the memory: all rows are the same bytes.
TEST(GetPixelValue, OffsetsAreFormedIn64Bits) {
  std::vector<std::uint8_t> row(1 << 16);
  row[65535] = 77;
  cv::Mat mat(3, 1 << 16, CV_8UC1, row.data());
  mat.step[0] = 0;
  EXPECT_EQ(Get(KelImage(mat), 2, 65535, 1), 77.0);
}

struct GetCase {
  cv::Mat image;
  int row;
  int column;
  int channel;
  bool has_output;
  KelLong status;
};

TEST(GetPixelValue, ChecksInItsOrder) {
  const cv::Mat grey = RandomImage(4, 6, CV_8UC1);
  const cv::Mat colour = RandomImage(4, 6, CV_8UC3);
  const cv::Mat wrong_depth(4, 6, CV_32FC1, cv::Scalar(0));
  const int sizes[] = {2, 2, 2};
  const std::vector<GetCase> cases = {
      {cv::Mat(), -1, -1, 0, false, ERR_IMAGE_EMPTY},
      {cv::Mat(0, 10, CV_8UC1), 0, 0, 1, true, ERR_IMAGE_EMPTY},
      {cv::Mat(10, 0, CV_8UC1), 0, 0, 1, true, ERR_IMAGE_EMPTY},
      {cv::Mat(3, sizes, CV_8UC1, cv::Scalar(0)), 0, 0, 1, true, ERR_IMAGE_EMPTY},
      {grey, -1, -1, 0, false, ERR_PARAM_1},
      {grey, 4, 0, 1, true, ERR_PARAM_1},
      {grey, INT_MIN, 0, 1, true, ERR_PARAM_1},
      {grey, INT_MAX, 0, 1, true, ERR_PARAM_1},
      {grey, 3, -1, 0, false, ERR_PARAM_2},
      {grey, 3, 6, 1, true, ERR_PARAM_2},
      {grey, 0, INT_MIN, 1, true, ERR_PARAM_2},
      {grey, 0, INT_MAX, 1, true, ERR_PARAM_2},
      {grey, 3, 5, 0, false, ERR_PARAM_3},
      {grey, 3, 5, 2, true, ERR_PARAM_3},
      {grey, 3, 5, INT_MIN, true, ERR_PARAM_3},
      {colour, 3, 5, 4, true, ERR_PARAM_3},
      {grey, 3, 5, 1, false, ERR_PARAM_4},
      {wrong_depth, -1, 0, 1, true, ERR_PARAM_1},
      {wrong_depth, 3, 5, 1, false, ERR_PARAM_4},
      {wrong_depth, 3, 5, 1, true, ERR_BIT_DEPTH},
      {grey, 3, 5, 1, true, STATUS_OK},
  };
  RecordedLog log;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const GetCase& c = cases[i];
    KelImageOperation op;
    KelImage image(c.image);
    double value = kUntouched;
    EXPECT_EQ(op.GetPixelValue(image, c.row, c.column, c.channel, c.has_output ? &value : nullptr),
              c.status);
    std::vector<LogRecord> records = {StartRecord("GetPixelValue", 7106)};
    if (c.status == STATUS_OK) {
      records.push_back(ExitRecord("GetPixelValue", 7168));
    } else {
      EXPECT_EQ(value, kUntouched);
    }
    EXPECT_EQ(log.Take(), records);
  }
}

TEST(GetPixelValue, RefusesEveryOtherDepth) {
  for (const int depth : {CV_8S, CV_16S, CV_32S, CV_32F, CV_64F, CV_16F}) {
    KelImageOperation op;
    KelImage image(cv::Mat::zeros(2, 2, CV_MAKETYPE(depth, 1)));
    double value = 0;
    EXPECT_EQ(op.GetPixelValue(image, 0, 0, 1, &value), ERR_BIT_DEPTH) << depth;
  }
}

cv::Mat Set(const cv::Mat& mat, int row, int column, int channel, double value) {
  KelImageOperation op;
  KelImage src(mat);
  KelImage dst;
  EXPECT_EQ(op.SetPixelValue(src, &dst, row, column, channel, value), STATUS_OK);
  EXPECT_FALSE(dst.ImageData() == src.ImageData());
  return dst.Mat();
}

TEST(SetPixelValue, ChangesOneSampleOfACopy) {
  for (const int depth : {CV_8U, CV_16U}) {
    for (const int channels : {1, 2, 3, 4, 6}) {
      const int type = CV_MAKETYPE(depth, channels);
      SCOPED_TRACE(TypeName(type));
      GuardedImage guarded(RandomImage(4, 5, type), 4, 8);
      const cv::Mat before = guarded.Mat().clone();
      for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 5; ++column) {
          for (int channel = 1; channel <= channels; ++channel) {
            cv::Mat expected = before.clone();
            if (const auto sample = AccessedSample(expected, column, channel, false)) {
              SetSample(&expected, row, *sample, 123);
            }
            ASSERT_TRUE(SameImage(Set(guarded.Mat(), row, column, channel, 123), expected));
          }
        }
      }
      EXPECT_TRUE(SameImage(guarded.Mat(), before));
      EXPECT_TRUE(guarded.SurroundingsUntouched());
    }
  }
}

TEST(SetPixelValue, TruncatesTowardZero) {
  struct Case {
    int type;
    double value;
    int stored;
  };
  for (const Case& c : std::vector<Case>{{CV_8UC1, 12.9, 12},
                                         {CV_8UC1, 254.9, 254},
                                         {CV_8UC1, 255.0, 255},
                                         {CV_8UC1, -0.0, 0},
                                         {CV_8UC1, 1e-300, 0},
                                         {CV_16UC1, 65534.999, 65534},
                                         {CV_16UC1, 65535.0, 65535}}) {
    const cv::Mat result = Set(cv::Mat(2, 2, c.type, cv::Scalar(99)), 1, 1, 1, c.value);
    EXPECT_EQ(SampleOf(result, 1, 1), c.stored) << c.value;
  }
}

struct SetCase {
  cv::Mat image;
  int row;
  int column;
  int channel;
  double value;
  bool has_output;
  KelLong status;
};

TEST(SetPixelValue, ChecksInItsOrder) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  const cv::Mat grey = RandomImage(4, 6, CV_8UC1);
  const cv::Mat deep = RandomImage(4, 6, CV_16UC3);
  const cv::Mat wrong_depth(4, 6, CV_16SC1, cv::Scalar(0));
  const std::vector<SetCase> cases = {
      {cv::Mat(), -1, -1, 0, -1, false, ERR_IMAGE_EMPTY},
      {cv::Mat(0, 10, CV_32FC1), 0, 0, 1, 0, true, ERR_IMAGE_EMPTY},
      {wrong_depth, -1, -1, 0, -1, false, ERR_BIT_DEPTH},
      {grey, -1, -1, 0, -1, false, ERR_PARAM_1},
      {grey, 4, 6, 2, 256, true, ERR_PARAM_1},
      {grey, 3, -1, 0, -1, false, ERR_PARAM_2},
      {grey, 3, 6, 2, 256, true, ERR_PARAM_2},
      {grey, 3, 5, 0, -1, false, ERR_PARAM_3},
      {grey, 3, 5, 2, 256, true, ERR_PARAM_3},
      {deep, 3, 5, 4, 65536, true, ERR_PARAM_3},
      {grey, 3, 5, 1, -1, false, ERR_PARAM_4},
      {grey, 3, 5, 1, 255.5, true, ERR_PARAM_4},
      {grey, 3, 5, 1, 255.00001, true, ERR_PARAM_4},
      {grey, 3, 5, 1, -1e-300, true, ERR_PARAM_4},
      {grey, 3, 5, 1, nan, true, ERR_PARAM_4},
      {grey, 3, 5, 1, infinity, true, ERR_PARAM_4},
      {grey, 3, 5, 1, -infinity, true, ERR_PARAM_4},
      {deep, 3, 5, 3, 65535.5, true, ERR_PARAM_4},
      {grey, 3, 5, 1, 1, false, ERR_IMAGE_EMPTY},
      {deep, 3, 5, 3, 65535, true, STATUS_OK},
  };
  RecordedLog log;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const SetCase& c = cases[i];
    KelImageOperation op;
    KelImage image(c.image);
    const cv::Mat before = RandomImage(3, 3, CV_8UC3);
    KelImage dst(before);
    EXPECT_EQ(
        op.SetPixelValue(image, c.has_output ? &dst : nullptr, c.row, c.column, c.channel, c.value),
        c.status);
    std::vector<LogRecord> records = {StartRecord("SetPixelValue", 7178)};
    if (c.status == STATUS_OK) {
      records.push_back(ExitRecord("SetPixelValue", 7240));
    } else {
      EXPECT_EQ(dst.ImageData(), before.data);
      EXPECT_TRUE(SameImage(before, RandomImage(3, 3, CV_8UC3)));
    }
    EXPECT_EQ(log.Take(), records);
  }
}

TEST(SetPixelValue, WritesIntoAnOutputOfTheSameSizeAndType) {
  const cv::Mat src_mat = RandomImage(4, 6, CV_8UC1);
  GuardedImage output(RandomImage(4, 6, CV_8UC1, 2), 5, 3);
  KelImageOperation op;
  KelImage src(src_mat);
  KelImage dst(output.Mat());
  EXPECT_EQ(op.SetPixelValue(src, &dst, 3, 5, 1, 42), STATUS_OK);
  cv::Mat expected = src_mat.clone();
  SetSample(&expected, 3, 5, 42);
  EXPECT_EQ(dst.ImageData(), output.Mat().data);
  EXPECT_TRUE(SameImage(output.Mat(), expected));
  EXPECT_TRUE(output.SurroundingsUntouched());
}

TEST(SetPixelValue, TheOutputMayBeTheInput) {
  KelImageOperation op;
  KelImage image(RandomImage(4, 6, CV_16UC3));
  cv::Mat expected = image.Mat().clone();
  SetSample(&expected, 2, 3 * 3 + 1, 999);
  EXPECT_EQ(op.SetPixelValue(image, &image, 2, 3, 2, 999), STATUS_OK);
  EXPECT_TRUE(SameImage(image.Mat(), expected));
}

// Rows, columns, and both apart: every way in which copying forwards or backwards alone goes wrong.
TEST(SetPixelValue, TheOutputMayOverlapTheInput) {
  for (const cv::Point shift : {cv::Point(0, 1), cv::Point(1, 0), cv::Point(3, 2)}) {
    for (const bool forwards : {false, true}) {
      cv::Mat canvas = RandomImage(12, 12, CV_8UC1);
      cv::Mat near = canvas(cv::Rect(0, 0, 8, 8));
      cv::Mat far = canvas(cv::Rect(shift.x, shift.y, 8, 8));
      KelImage src(forwards ? near : far);
      KelImage dst(forwards ? far : near);
      cv::Mat expected = src.Mat().clone();
      SetSample(&expected, 7, 7, 1);
      KelImageOperation op;
      EXPECT_EQ(op.SetPixelValue(src, &dst, 7, 7, 1, 1), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), expected));
    }
  }
}

}  // namespace
}  // namespace kelra_test
