#include "frame/masked_row_bodies.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "every_instruction_set.h"
#include "masked_steps.h"
#include "test_images.h"

namespace KELRA::tbbup {
namespace {

using kelra_test::GuardedImage;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::TypeName;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Extent {
  int row_limit;
  int columns;
};

// Limits around the 6 rows of the input, and fewer columns than it has.
constexpr int kColumns = 210;
constexpr Extent kWhole{6, kColumns};
constexpr Extent kExtents[] = {kWhole, {0, kColumns}, {3, kColumns},  {100, kColumns},
                               {6, 0}, {6, 13},       {-1, kColumns}, {6, -1}};

// A third of the mask is 0; what is not 0 need not be 255.
cv::Mat RandomMask(int rows, int columns = kColumns) {
  cv::Mat mask = RandomImage(rows, columns, CV_8UC1, 99);
  for (int row = 0; row < rows; ++row) {
    for (int column = row % 3; column < columns; column += 3) {
      mask.at<std::uint8_t>(row, column) = 0;
    }
  }
  return mask;
}

template <class Body>
void CheckScaleAndOffset(int type, const cv::Mat& mask, Extent extent, double scale,
                         double offset) {
  using Sample = std::conditional_t<std::is_same_v<Body, parallelMaskC1Invoker> ||
                                        std::is_same_v<Body, parallelMaskC3Invoker>,
                                    std::uint8_t, std::uint16_t>;
  GuardedImage input(RandomImage(6, kColumns, type, 3), 10, 20);
  GuardedImage output(RandomImage(6, kColumns, type, 4), 6, 20);
  cv::Mat expected = output.Mat().clone();
  Body(&output.Mat(), input.Mat(), mask, extent.row_limit, extent.columns, scale,
       offset)(RowRange(0, 6));
  kelra_reference::MaskedScaleAndOffset<Sample>(&expected, input.Mat(), mask, extent.row_limit,
                                                extent.columns, scale, offset);
  EXPECT_TRUE(SameImage(output.Mat(), expected))
      << TypeName(type) << ", row limit " << extent.row_limit << ", columns " << extent.columns
      << ", scale " << scale << ", offset " << offset;
  EXPECT_TRUE(output.SurroundingsUntouched());
}

template <class Body>
void CheckSumOrSecond(int type, const cv::Mat& mask, Extent extent, double constant) {
  using Sample = std::conditional_t<std::is_same_v<Body, parallelMaskInvokerMultiply> ||
                                        std::is_same_v<Body, parallelMaskC3InvokerMultiply>,
                                    std::uint8_t, std::uint16_t>;
  GuardedImage input(RandomImage(6, kColumns, type, 3), 10, 20);
  GuardedImage second(RandomImage(6, kColumns, type, 5), 2, 20);
  GuardedImage output(RandomImage(6, kColumns, type, 4), 6, 20);
  cv::Mat expected = output.Mat().clone();
  Body(&output.Mat(), input.Mat(), second.Mat(), mask, extent.row_limit, extent.columns,
       constant)(RowRange(0, 6));
  kelra_reference::MaskedSumOrSecond<Sample>(&expected, input.Mat(), second.Mat(), mask,
                                             extent.row_limit, extent.columns, constant);
  EXPECT_TRUE(SameImage(output.Mat(), expected))
      << TypeName(type) << ", row limit " << extent.row_limit << ", columns " << extent.columns
      << ", constant " << constant;
  EXPECT_TRUE(output.SurroundingsUntouched());
}

void CheckScaleAndOffsetOfEveryType(const cv::Mat& mask, Extent extent, double scale,
                                    double offset) {
  CheckScaleAndOffset<parallelMaskC1Invoker>(CV_8UC1, mask, extent, scale, offset);
  CheckScaleAndOffset<parallelMaskC3Invoker>(CV_8UC3, mask, extent, scale, offset);
  CheckScaleAndOffset<parallelMaskC1_16UInvoker>(CV_16UC1, mask, extent, scale, offset);
  CheckScaleAndOffset<parallelMaskC3_16UInvoker>(CV_16UC3, mask, extent, scale, offset);
}

void CheckSumOrSecondOfEveryType(const cv::Mat& mask, Extent extent, double constant) {
  CheckSumOrSecond<parallelMaskInvokerMultiply>(CV_8UC1, mask, extent, constant);
  CheckSumOrSecond<parallelMaskC3InvokerMultiply>(CV_8UC3, mask, extent, constant);
  CheckSumOrSecond<parallelMask_16UInvokerMultiply>(CV_16UC1, mask, extent, constant);
  CheckSumOrSecond<parallelMaskC3_16UInvokerMultiply>(CV_16UC3, mask, extent, constant);
}

class MaskedRowBodies : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(MaskedRowBodies);

TEST_P(MaskedRowBodies, ScaleAndOffsetFollowTheModel) {
  const struct {
    double scale, offset;
  } cases[] = {{1, 0},         {0.5, 0.9},      {-1, 255},      {1.0 / 3, 0.1},    {257, 0},
               {1e300, 0},     {1, 1e300},      {1, -1e300},    {kNaN, 0},         {1, kNaN},
               {1, kInfinity}, {1, -kInfinity}, {kInfinity, 0}, {1, 0.9999999999}, {0, -0.0}};
  for (const auto& c : cases) {
    CheckScaleAndOffsetOfEveryType(RandomMask(6), kWhole, c.scale, c.offset);
  }
}

TEST_P(MaskedRowBodies, SumOrSecondFollowsTheModel) {
  for (const double constant : {0.0, 0.9, -0.5, 100.0, -100.0, 300.0, 65535.0, -65535.0, 1e300,
                                -1e300, kNaN, kInfinity, -kInfinity}) {
    CheckSumOrSecondOfEveryType(RandomMask(6), kWhole, constant);
  }
}

// One run of every length, as the masks of turned images have, so that a row's run ends within a
// vector, at its end and behind it.
TEST_P(MaskedRowBodies, RunsOfEveryLength) {
  for (int length = 0; length < kColumns; ++length) {
    cv::Mat mask(6, kColumns, CV_8UC1, cv::Scalar(0));
    for (int row = 0; row < mask.rows; ++row) {
      mask.row(row).colRange(row % 3, std::min(row % 3 + length, kColumns)).setTo(255);
    }
    CheckScaleAndOffsetOfEveryType(mask, kWhole, 0.7, 5);
    CheckSumOrSecondOfEveryType(mask, kWhole, 31);
  }
}

TEST_P(MaskedRowBodies, All16BitSamples) {
  cv::Mat samples(256, 256, CV_16UC1);
  for (int i = 0; i < 65536; ++i) {
    samples.at<std::uint16_t>(i / 256, i % 256) = static_cast<std::uint16_t>(i);
  }
  const cv::Mat colors = samples.reshape(1, 1).colRange(1, 65536).reshape(3).clone();
  for (const cv::Mat& input : {samples, colors}) {
    const cv::Mat mask(input.size(), CV_8UC1, cv::Scalar(255));
    for (const double scale : {1.0 / 3, 0.1, 0.37, 1.0000001, -0.25, 1e7}) {
      for (const double offset : {0.0, 0.1, -3.7, 16384.0}) {
        cv::Mat output(input.size(), input.type());
        cv::Mat expected(input.size(), input.type());
        const RowRange rows(0, input.rows);
        if (input.channels() == 1) {
          parallelMaskC1_16UInvoker(&output, input, mask, input.rows, input.cols, scale,
                                    offset)(rows);
        } else {
          parallelMaskC3_16UInvoker(&output, input, mask, input.rows, input.cols, scale,
                                    offset)(rows);
        }
        kelra_reference::MaskedScaleAndOffset<std::uint16_t>(&expected, input, mask, input.rows,
                                                             input.cols, scale, offset);
        EXPECT_TRUE(SameImage(output, expected)) << "scale " << scale << ", offset " << offset;
      }
    }
  }
}

TEST_P(MaskedRowBodies, StayWithinTheRowLimitAndTheColumns) {
  for (const Extent extent : kExtents) {
    CheckScaleAndOffsetOfEveryType(RandomMask(6), extent, 0.7, 5);
    CheckSumOrSecondOfEveryType(RandomMask(6), extent, 31);
  }
}

TEST_P(MaskedRowBodies, StayWithinTheRowsOfTheMask) {
  const cv::Mat mask = RandomMask(4);
  CheckScaleAndOffsetOfEveryType(mask, kWhole, 0.7, 5);
  CheckSumOrSecondOfEveryType(mask, kWhole, 31);
}

// One step below 2 in double precision, 2 in single precision: only three channels round to it.
TEST_P(MaskedRowBodies, OnlyThreeChannelsNarrowToSinglePrecision) {
  const double just_below_two = 2 - 1e-12;
  const cv::Mat mask(1, 1, CV_8UC1, cv::Scalar(1));
  cv::Mat one(1, 1, CV_8UC1, cv::Scalar(1));
  cv::Mat three(1, 1, CV_8UC3, cv::Scalar::all(1));
  parallelMaskC1Invoker(&one, one, mask, 1, 1, just_below_two, 0)(RowRange(0, 1));
  parallelMaskC3Invoker(&three, three, mask, 1, 1, just_below_two, 0)(RowRange(0, 1));
  EXPECT_EQ(one.at<std::uint8_t>(0), 1);
  EXPECT_EQ(three.at<cv::Vec3b>(0), cv::Vec3b(2, 2, 2));
}

TEST_P(MaskedRowBodies, WorkOnTheRowsOfTheirRangeOnly) {
  const cv::Mat input(6, 5, CV_8UC1, cv::Scalar(10));
  const cv::Mat mask(6, 5, CV_8UC1, cv::Scalar(255));
  cv::Mat output(6, 5, CV_8UC1, cv::Scalar(0));
  parallelMaskC1Invoker(&output, input, mask, 6, 5, 2, 1)(RowRange(2, 4));
  cv::Mat expected(6, 5, CV_8UC1, cv::Scalar(0));
  expected.rowRange(2, 4).setTo(21);
  EXPECT_TRUE(SameImage(output, expected));
}

}  // namespace
}  // namespace KELRA::tbbup
