#include "frame/row_bodies.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "arithmetic.h"
#include "every_instruction_set.h"
#include "fake_settings.h"
#include "linear_cases.h"
#include "test_images.h"

namespace KELRA::tbbup {
namespace {

using kelra_reference::Operation;
using kelra_test::GuardedImage;
using kelra_test::LinearCase;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::TypeName;

constexpr Operation kOperations[] = {kelra_reference::kAdd, kelra_reference::kSubtract,
                                     kelra_reference::kMultiply, kelra_reference::kDivide};

// The body that handles the operation and the type, over a range of rows.
void RunWithConstant(int code, cv::Mat* output, const cv::Mat& input, int constant,
                     LinearCase linear, const RowRange& rows) {
  const auto run = [&](const auto& body) { body(rows); };
  const auto blockwise = [&](auto* body_type) {
    using Body = std::remove_pointer_t<decltype(body_type)>;
    run(Body(output, input, static_cast<OperationCode>(code), constant, linear.scale,
             linear.offset));
  };
  if (code == kelra_reference::kDivide && input.depth() == CV_8U) {
    run(parallelOperationInvoker_greyValue(output, input, constant, linear.scale, linear.offset));
  } else if (code == kelra_reference::kDivide) {
    run(parallelOperationInvoker_16U_greyValue(output, input, constant, linear.scale,
                                               linear.offset));
  } else if (input.type() == CV_8UC1) {
    blockwise(static_cast<parallelOperationSSE2_greyValueInvoker*>(nullptr));
  } else if (input.type() == CV_8UC3) {
    blockwise(static_cast<parallelOperationColorSSE2_greyValueInvoker*>(nullptr));
  } else if (input.type() == CV_16UC1) {
    blockwise(static_cast<parallelOperationSSE2_16U_greyValueInvoker*>(nullptr));
  } else {
    blockwise(static_cast<parallelOperationColorSSE2_16U_greyValueInvoker*>(nullptr));
  }
}

void RunWithImage(int code, cv::Mat* output, const cv::Mat& input, const cv::Mat& second,
                  LinearCase linear, const RowRange& rows) {
  const auto run = [&](const auto& body) { body(rows); };
  const auto blockwise = [&](auto* body_type) {
    using Body = std::remove_pointer_t<decltype(body_type)>;
    run(Body(output, input, second, static_cast<OperationCode>(code), linear.scale, linear.offset));
  };
  if (code == kelra_reference::kDivide && input.depth() == CV_8U) {
    run(parallelOperationInvoker(output, input, second, linear.scale, linear.offset));
  } else if (code == kelra_reference::kDivide) {
    run(parallelOperationInvoker_16U(output, input, second, linear.scale, linear.offset));
  } else if (input.type() == CV_8UC1) {
    blockwise(static_cast<parallelOperationSSE2Invoker*>(nullptr));
  } else if (input.type() == CV_8UC3) {
    blockwise(static_cast<parallelOperationColorSSE2Invoker*>(nullptr));
  } else if (input.type() == CV_16UC1) {
    blockwise(static_cast<parallelOperationSSE2Invoker_16U*>(nullptr));
  } else {
    blockwise(static_cast<parallelOperationColorSSE2Invoker_16U*>(nullptr));
  }
}

cv::Mat WithConstant(int code, const cv::Mat& input, int constant, LinearCase linear) {
  cv::Mat output(input.size(), input.type(), cv::Scalar::all(77));
  RunWithConstant(code, &output, input, constant, linear, RowRange(0, input.rows));
  return output;
}

cv::Mat WithImage(int code, const cv::Mat& input, const cv::Mat& second, LinearCase linear) {
  cv::Mat output(input.size(), input.type(), cv::Scalar::all(77));
  RunWithImage(code, &output, input, second, linear, RowRange(0, input.rows));
  return output;
}

std::string Describe(const cv::Mat& input, int code, LinearCase linear) {
  std::ostringstream text;
  text << ", " << TypeName(input.type()) << ", operation " << code << ", scale " << linear.scale
       << ", offset " << linear.offset;
  return text.str();
}

testing::AssertionResult ConstantAgrees(Operation operation, const cv::Mat& input, int constant,
                                        LinearCase linear) {
  testing::AssertionResult same =
      SameImage(WithConstant(operation, input, constant, linear),
                kelra_reference::ArithmeticWithConstant(operation, input, constant, linear.scale,
                                                        linear.offset));
  if (!same) {
    same << Describe(input, operation, linear) << ", constant " << constant;
  }
  return same;
}

testing::AssertionResult ImageAgrees(Operation operation, const cv::Mat& input,
                                     const cv::Mat& second, LinearCase linear) {
  testing::AssertionResult same = SameImage(
      WithImage(operation, input, second, linear),
      kelra_reference::ArithmeticWithImage(operation, input, second, linear.scale, linear.offset));
  if (!same) {
    same << Describe(input, operation, linear);
  }
  return same;
}

std::vector<int> Widths() {
  std::vector<int> widths(70);
  std::iota(widths.begin(), widths.end(), 1);
  widths.insert(widths.end(), {127, 128, 129, 640, 1000});
  return widths;
}

std::vector<int> ConstantsOf(int type) {
  return CV_MAT_DEPTH(type) == CV_8U ? std::vector<int>{1, 7, 255}
                                     : std::vector<int>{1, 300, 65535};
}

// How an operand lies in memory: bytes between rows, and bytes around all of them.
struct Layout {
  const char* name;
  int gap;
  int margin;
};
constexpr Layout kTight{"filling its memory", 0, 0};
constexpr Layout kJoined{"without gaps", 0, 64};
// Not a multiple of any vector, so that rows begin at all alignments.
constexpr Layout kApart{"with gaps", 14, 66};

class RowBodies : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(RowBodies);

struct Arrangement {
  Layout input;
  Layout second;
  Layout output;
};
constexpr Arrangement kArrangements[] = {
    {kTight, kTight, kJoined},
    {kApart, kTight, kJoined},
    {kTight, kApart, kApart},
    {kApart, kApart, kApart},
};

TEST_P(RowBodies, EveryWidthWithAConstant) {
  for (const int width : Widths()) {
    for (const int type : kelra_test::kPixelTypes) {
      const cv::Mat pixels = RandomImage(3, width, type, static_cast<std::uint64_t>(width));
      for (const Operation operation : kOperations) {
        for (const LinearCase linear : kelra_test::UsualLinearCases()) {
          const int constant = ConstantsOf(type)[static_cast<std::size_t>(width % 3)];
          const cv::Mat expected = kelra_reference::ArithmeticWithConstant(
              operation, pixels, constant, linear.scale, linear.offset);
          for (const Arrangement& at : kArrangements) {
            GuardedImage input(pixels, at.input.gap, at.input.margin);
            GuardedImage output(pixels, at.output.gap, at.output.margin);
            output.Mat().setTo(cv::Scalar::all(77));
            RunWithConstant(operation, &output.Mat(), input.Mat(), constant, linear,
                            RowRange(0, pixels.rows));
            ASSERT_TRUE(SameImage(output.Mat(), expected))
                << TypeName(type) << ", width " << width << ", operation " << operation
                << ", input " << at.input.name << ", output " << at.output.name << ", constant "
                << constant << ", scale " << linear.scale << ", offset " << linear.offset;
            ASSERT_TRUE(output.SurroundingsUntouched());
            ASSERT_TRUE(SameImage(input.Mat(), pixels));
          }
        }
      }
    }
  }
}

TEST_P(RowBodies, EveryWidthWithASecondImage) {
  for (const int width : Widths()) {
    for (const int type : kelra_test::kPixelTypes) {
      const auto seed = static_cast<std::uint64_t>(width);
      const cv::Mat pixels = RandomImage(3, width, type, seed);
      const cv::Mat second_pixels = RandomImage(3, width, type, seed + 1000);
      for (const Operation operation : kOperations) {
        for (const LinearCase linear : kelra_test::UsualLinearCases()) {
          const cv::Mat expected = kelra_reference::ArithmeticWithImage(
              operation, pixels, second_pixels, linear.scale, linear.offset);
          for (const Arrangement& at : kArrangements) {
            GuardedImage input(pixels, at.input.gap, at.input.margin);
            GuardedImage second(second_pixels, at.second.gap, at.second.margin);
            GuardedImage output(pixels, at.output.gap, at.output.margin);
            output.Mat().setTo(cv::Scalar::all(77));
            RunWithImage(operation, &output.Mat(), input.Mat(), second.Mat(), linear,
                         RowRange(0, pixels.rows));
            ASSERT_TRUE(SameImage(output.Mat(), expected))
                << TypeName(type) << ", width " << width << ", operation " << operation
                << ", input " << at.input.name << ", second " << at.second.name << ", output "
                << at.output.name << ", scale " << linear.scale << ", offset " << linear.offset;
            ASSERT_TRUE(output.SurroundingsUntouched());
          }
        }
      }
    }
  }
}

TEST_P(RowBodies, TheOutputMayBeAnInput) {
  for (const int width : Widths()) {
    for (const int type : kelra_test::kPixelTypes) {
      const cv::Mat pixels = RandomImage(3, width, type, 1);
      const cv::Mat others = RandomImage(3, width, type, 2);
      for (const Operation operation : kOperations) {
        for (const Layout& layout : {kTight, kApart}) {
          for (const LinearCase linear : kelra_test::UsualLinearCases()) {
            const auto of_images = kelra_reference::ArithmeticWithImage(
                operation, pixels, others, linear.scale, linear.offset);
            GuardedImage alone(pixels, layout.gap, layout.margin);
            RunWithConstant(operation, &alone.Mat(), alone.Mat(), 7, linear, RowRange(0, 3));
            ASSERT_TRUE(
                SameImage(alone.Mat(), kelra_reference::ArithmeticWithConstant(
                                           operation, pixels, 7, linear.scale, linear.offset)));
            ASSERT_TRUE(alone.SurroundingsUntouched());

            GuardedImage first(pixels, layout.gap, layout.margin);
            RunWithImage(operation, &first.Mat(), first.Mat(), others, linear, RowRange(0, 3));
            ASSERT_TRUE(SameImage(first.Mat(), of_images));
            ASSERT_TRUE(first.SurroundingsUntouched());

            GuardedImage second(others, layout.gap, layout.margin);
            RunWithImage(operation, &second.Mat(), pixels, second.Mat(), linear, RowRange(0, 3));
            ASSERT_TRUE(SameImage(second.Mat(), of_images));
            ASSERT_TRUE(second.SurroundingsUntouched());
          }
        }
      }
    }
  }
}

// One block and a tail each time; 8-bit rows have a block of 16, 16-bit rows of 8.
TEST_P(RowBodies, EveryScaleAndOffset) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat input = RandomImage(2, 21, type, 3);
    const cv::Mat second = RandomImage(2, 21, type, 4);
    for (const LinearCase linear : kelra_test::LinearCases()) {
      for (const Operation operation : kOperations) {
        for (const int constant : ConstantsOf(type)) {
          ASSERT_TRUE(ConstantAgrees(operation, input, constant, linear));
        }
        ASSERT_TRUE(ImageAgrees(operation, input, second, linear));
      }
    }
  }
}

// Column c, row r: 8-bit samples c and r.
cv::Mat AllPairs(bool second) {
  cv::Mat pairs(256, 256, CV_8UC1);
  for (int row = 0; row < 256; ++row) {
    for (int column = 0; column < 256; ++column) {
      pairs.at<std::uint8_t>(row, column) = static_cast<std::uint8_t>(second ? row : column);
    }
  }
  return pairs;
}

constexpr LinearCase kExhaustiveCases[] = {
    {1.0F, 0.0F},   {1.0F, 100.0F},  {1.0F, -77.0F}, {1.0F, 0.5F},       {0.5F, 0.25F},
    {0.1F, -0.05F}, {-1.0F, 255.0F}, {2.5F, 0.5F},   {1.0000001F, 0.0F}, {0.003F, 127.5F},
};

// Rows of 256 are blocks only, rows of one pixel tail only.
TEST_P(RowBodies, All8BitSamplesWithAllConstants) {
  const cv::Mat blocks = AllPairs(false).row(0).clone();
  const cv::Mat tails = blocks.t();
  for (const LinearCase linear : kExhaustiveCases) {
    for (const Operation operation : kOperations) {
      for (int constant = operation == kelra_reference::kDivide ? 1 : 0; constant < 256;
           ++constant) {
        for (const cv::Mat& input : {blocks, tails}) {
          ASSERT_TRUE(ConstantAgrees(operation, input, constant, linear));
        }
      }
    }
  }
}

TEST_P(RowBodies, All8BitPairsOfSamples) {
  const cv::Mat first = AllPairs(false);
  const cv::Mat second = AllPairs(true);
  const cv::Mat first_as_tails = first.clone().reshape(1, 256 * 256);
  const cv::Mat second_as_tails = second.clone().reshape(1, 256 * 256);
  for (const LinearCase linear : kExhaustiveCases) {
    for (const Operation operation : kOperations) {
      EXPECT_TRUE(ImageAgrees(operation, first, second, linear));
      EXPECT_TRUE(ImageAgrees(operation, first_as_tails, second_as_tails, linear)) << ", tails";
    }
  }
}

TEST_P(RowBodies, All16BitSamples) {
  cv::Mat blocks(1, 65536, CV_16UC1);
  for (int i = 0; i < 65536; ++i) {
    blocks.at<std::uint16_t>(i) = static_cast<std::uint16_t>(i);
  }
  const cv::Mat tails = blocks.t();
  for (const LinearCase linear : {LinearCase{1.0F, 0.0F},
                                  {1.0F, -1000.0F},
                                  {1.0F, 0.5F},
                                  {0.37F, 11.25F},
                                  {-1.0F, 65535.5F},
                                  {1e-4F, 0.5F}}) {
    for (const Operation operation : kOperations) {
      for (const int constant : {1, 3, 255, 257, 40000, 65535}) {
        for (const cv::Mat& input : {blocks, tails}) {
          ASSERT_TRUE(ConstantAgrees(operation, input, constant, linear));
        }
      }
    }
  }
}

TEST_P(RowBodies, LargeImages) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat first = RandomImage(101, 203, type, 11);
    const cv::Mat second = RandomImage(101, 203, type, 12);
    for (const LinearCase linear : kelra_test::UsualLinearCases()) {
      for (const Operation operation : kOperations) {
        EXPECT_TRUE(ConstantAgrees(operation, first, 7, linear));
        EXPECT_TRUE(ImageAgrees(operation, first, second, linear));
      }
    }
  }
}

// Every value of the 8-bit scale-and-offset cases again, over as many pixels as make a table of the
// results worth its while.
TEST_P(RowBodies, EveryScaleAndOffsetOverLarge8BitImages) {
  const cv::Mat input = RandomImage(5, 513, CV_8UC1, 3);
  for (const LinearCase linear : kelra_test::LinearCases()) {
    for (const Operation operation : kOperations) {
      ASSERT_TRUE(ConstantAgrees(operation, input, 7, linear));
    }
  }
}

// Scale and offset bring the last binary digits of a quotient into view.
TEST_P(RowBodies, QuotientsAreRoundedToSinglePrecision) {
  cv::RNG random(17);
  for (int i = 0; i < 20000; ++i) {
    const int constant = random.uniform(1, 65536);
    const int middle = random.uniform(8, 65528);
    cv::Mat input(1, 16, CV_16UC1);
    for (int column = 0; column < 16; ++column) {
      input.at<std::uint16_t>(column) = static_cast<std::uint16_t>(middle - 8 + column);
    }
    const float quotient = static_cast<float>(middle) / static_cast<float>(constant);
    const float scale = std::ldexp(1.0F, 23 - std::ilogb(quotient));
    const LinearCase linear{scale, 32768.0F - quotient * scale};
    ASSERT_TRUE(ConstantAgrees(kelra_reference::kDivide, input, constant, linear))
        << ", around " << middle;
    const cv::Mat constants(input.size(), CV_16UC1, cv::Scalar(constant));
    ASSERT_TRUE(ImageAgrees(kelra_reference::kDivide, input, constants, linear))
        << ", around " << middle;
  }
}

TEST_P(RowBodies, ValuesThatAreNotFinite) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  const struct {
    LinearCase linear;
    bool largest;
  } cases[] = {
      {{kNaN, 0.0F}, false},
      {{1.0F, kNaN}, false},
      {{kInfinity, 0.0F}, true},
      {{-kInfinity, 0.0F}, false},
      {{1.0F, kInfinity}, true},
      {{1.0F, -kInfinity}, false},
      {{kInfinity, -kInfinity}, false},
  };
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat input(2, 21, type, cv::Scalar::all(100));
    const cv::Mat zeros(input.size(), type, cv::Scalar::all(0));
    const cv::Mat largest(input.size(), type,
                          cv::Scalar::all(CV_MAT_DEPTH(type) == CV_8U ? 255 : 65535));
    for (const auto& c : cases) {
      for (const Operation operation : kOperations) {
        const cv::Mat& expected = c.largest ? largest : zeros;
        EXPECT_TRUE(SameImage(WithConstant(operation, input, 2, c.linear), expected))
            << Describe(input, operation, c.linear);
        const cv::Mat twos(input.size(), type, cv::Scalar::all(2));
        EXPECT_TRUE(SameImage(WithImage(operation, input, twos, c.linear), expected))
            << Describe(input, operation, c.linear);
      }
    }
  }
}

TEST_P(RowBodies, BlocksRoundToEvenAndTailsTruncate) {
  const struct {
    int sample;
    float offset;
    int block, tail;
  } cases[] = {{100, 0.5F, 100, 100}, {101, 0.5F, 102, 101}, {100, 0.6F, 101, 100},
               {100, 0.4F, 100, 100}, {0, -0.5F, 0, 0},      {255, 0.5F, 255, 255}};
  for (const int type : kelra_test::kPixelTypes) {
    const int block = CV_MAT_DEPTH(type) == CV_8U ? 16 : 8;
    for (const auto& c : cases) {
      if (c.sample == 255 && block == 8) {
        continue;  // far from the end of 16 bits
      }
      const cv::Mat input(1, block + 1, type, cv::Scalar::all(c.sample));
      cv::Mat expected(input.size(), type, cv::Scalar::all(c.block));
      expected.col(block).setTo(cv::Scalar::all(c.tail));
      EXPECT_TRUE(SameImage(WithConstant(kernels::kAdd, input, 0, {1.0F, c.offset}), expected))
          << TypeName(type) << ", sample " << c.sample << ", offset " << c.offset;
      const cv::Mat narrow = input.colRange(0, block - 1);
      EXPECT_TRUE(SameImage(WithConstant(kernels::kAdd, narrow, 0, {1.0F, c.offset}),
                            cv::Mat(narrow.size(), type, cv::Scalar::all(c.tail))))
          << TypeName(type) << ", sample " << c.sample << ", offset " << c.offset;
    }
  }
}

TEST_P(RowBodies, QuotientsRoundHalfUpEverywhere) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat sevens(2, 21, type, cv::Scalar::all(7));
    const cv::Mat twos(2, 21, type, cv::Scalar::all(2));
    const cv::Mat fours(2, 21, type, cv::Scalar::all(4));
    EXPECT_TRUE(SameImage(WithConstant(kernels::kDivide, sevens, 2, {1.0F, 0.0F}), fours));
    EXPECT_TRUE(SameImage(WithImage(kernels::kDivide, sevens, twos, {1.0F, 0.0F}), fours));
  }
}

TEST_P(RowBodies, QuotientByZeroIsZeroWhateverTheOffset) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat input = RandomImage(2, 21, type, 7);
    const cv::Mat zeros(input.size(), type, cv::Scalar::all(0));
    for (const float offset : {0.0F, 50.0F, std::numeric_limits<float>::infinity()}) {
      EXPECT_TRUE(SameImage(WithImage(kernels::kDivide, input, zeros, {1.0F, offset}), zeros));
    }
  }
}

TEST_P(RowBodies, UnknownCodesLeaveTheOutputUnwritten) {
  for (const int type : kelra_test::kPixelTypes) {
    const cv::Mat input = RandomImage(2, 21, type, 7);
    for (const LinearCase linear : {LinearCase{1.0F, 0.0F}, {0.5F, 1.0F}}) {
      for (const int code : {-1, 4, 5, 1000, std::numeric_limits<int>::max()}) {
        const cv::Mat untouched(input.size(), type, cv::Scalar::all(77));
        EXPECT_TRUE(SameImage(WithConstant(code, input, 5, linear), untouched)) << code;
        EXPECT_TRUE(SameImage(WithImage(code, input, input, linear), untouched)) << code;
      }
    }
  }
}

// Only the plain bodies divide.
TEST_P(RowBodies, BlockwiseBodiesDoNotDivide) {
  const cv::Mat input = RandomImage(2, 21, CV_8UC1, 7);
  cv::Mat output(input.size(), CV_8UC1, cv::Scalar(77));
  const cv::Mat untouched = output.clone();
  parallelOperationSSE2_greyValueInvoker(&output, input, kernels::kDivide, 5, 1.0F,
                                         0.0F)(RowRange(0, 2));
  EXPECT_TRUE(SameImage(output, untouched));
  parallelOperationSSE2Invoker(&output, input, input, kernels::kDivide, 1.0F, 0.0F)(RowRange(0, 2));
  EXPECT_TRUE(SameImage(output, untouched));
}

TEST_P(RowBodies, WriteTheRowsOfTheirRangeOnly) {
  for (const int type : kelra_test::kPixelTypes) {
    for (const int width : {5, 16, 21}) {
      const cv::Mat input = RandomImage(7, width, type, 7);
      const cv::Mat second = RandomImage(7, width, type, 8);
      for (const Operation operation : kOperations) {
        for (int begin = 0; begin <= 7; ++begin) {
          for (int end = begin; end <= 7; ++end) {
            cv::Mat expected(input.size(), type, cv::Scalar::all(77));
            cv::Mat output = expected.clone();
            RunWithConstant(operation, &output, input, 9, {0.5F, 3.0F}, RowRange(begin, end));
            const cv::Mat of_constant =
                kelra_reference::ArithmeticWithConstant(operation, input, 9, 0.5F, 3.0F);
            for (int row = begin; row < end; ++row) {
              of_constant.row(row).copyTo(expected.row(row));
            }
            ASSERT_TRUE(SameImage(output, expected));

            RunWithImage(operation, &output, input, second, {0.5F, 3.0F}, RowRange(begin, end));
            const cv::Mat of_images =
                kelra_reference::ArithmeticWithImage(operation, input, second, 0.5F, 3.0F);
            for (int row = begin; row < end; ++row) {
              of_images.row(row).copyTo(expected.row(row));
            }
            ASSERT_TRUE(SameImage(output, expected));
          }
        }
      }
    }
  }
}

TEST_P(RowBodies, LaunchCoversAllRowsWithAnyParallelSetting) {
  const cv::Mat input = RandomImage(97, 6003, CV_8UC1, 21);
  const cv::Mat second = RandomImage(97, 6003, CV_8UC1, 22);
  const cv::Mat of_constant =
      kelra_reference::ArithmeticWithConstant(kelra_reference::kAdd, input, 9, 0.7F, 0.3F);
  const cv::Mat of_images =
      kelra_reference::ArithmeticWithImage(kelra_reference::kDivide, input, second, 0.7F, 0.3F);
  for (const int parallel : kelra_test::ParallelSettingsFor(input.rows)) {
    const kelra_test::ScopedSettings settings({.parallel = parallel});
    cv::Mat output(input.size(), input.type());
    Launch<parallelOperationSSE2_greyValueInvoker>(&output, input, input.rows, kernels::kAdd, 9,
                                                   0.7F, 0.3F);
    EXPECT_TRUE(SameImage(output, of_constant)) << parallel;
    Launch<parallelOperationInvoker>(&output, input, input.rows, second, 0.7F, 0.3F);
    EXPECT_TRUE(SameImage(output, of_images)) << parallel;
  }
}

}  // namespace
}  // namespace KELRA::tbbup
