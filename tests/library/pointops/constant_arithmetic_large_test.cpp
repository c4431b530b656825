// Constant arithmetic on images that the processor's cache cannot hold.

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>

#include "KELRA/KelImageOperation.h"
#include "constant_methods.h"
#include "every_instruction_set.h"
#include "frame/cache_size.h"
#include "linear_cases.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::ConstantMethod;
using kelra_test::kConstantMethods;
using kelra_test::LinearCase;
using kelra_test::RandomImage;
using kelra_test::SameImage;

struct Parameters {
  const ConstantMethod& method;
  int value;
  LinearCase linear;
};

KelLong CallOnWholeImage(const Parameters& p, KelImage& src, KelImage* dst) {
  KelImageOperation object;
  return p.method.Call(&object, src, KelROI::WholeImage(), dst, p.value, p.linear.scale,
                       p.linear.offset);
}

cv::Mat Model(const Parameters& p, const cv::Mat& input) {
  return kelra_reference::ArithmeticWithConstant(p.method.operation, input, p.value, p.linear.scale,
                                                 p.linear.offset);
}

// Images beyond the cache are written past it, except where the output is the input. Rows of no
// whole number of vectors begin at many alignments.
class ConstantArithmeticBeyondTheCache : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(ConstantArithmeticBeyondTheCache);

TEST_P(ConstantArithmeticBeyondTheCache, HasTheModelsResultStreamedAndInPlace) {
  constexpr int kColumns = 8011;
  constexpr int kDistinctRows = 16;
  const cv::Mat distinct = RandomImage(kDistinctRows, kColumns, CV_16UC1, 31);
  const std::size_t row_bytes = std::size_t{2} * kColumns;
  const int repeats = static_cast<int>(LastLevelCacheBytes() / (2 * row_bytes * kDistinctRows)) + 1;
  const cv::Mat input = cv::repeat(distinct, repeats, 1);
  ASSERT_GT(2 * row_bytes * static_cast<std::size_t>(input.rows), LastLevelCacheBytes());

  const auto expect_repeated = [&](const cv::Mat& output, const cv::Mat& expected) {
    ASSERT_EQ(output.size(), input.size());
    for (int i = 0; i < repeats; ++i) {
      ASSERT_TRUE(SameImage(output.rowRange(i * kDistinctRows, (i + 1) * kDistinctRows), expected))
          << "from row " << i * kDistinctRows;
    }
  };
  KelImage src(input);
  KelImage dst(cv::Mat(input.size(), input.type(), cv::Scalar(7)));
  const Parameters all[] = {{kConstantMethods[kelra_reference::kAdd], 300, {1, 0}},
                            {kConstantMethods[kelra_reference::kMultiply], 3, {0.37F, 11.25F}},
                            {kConstantMethods[kelra_reference::kDivide], 7, {2.5F, -3}}};
  for (const Parameters& p : all) {
    ASSERT_EQ(CallOnWholeImage(p, src, &dst), STATUS_OK);
    SCOPED_TRACE(testing::Message() << p.method.name << ", streamed");
    expect_repeated(dst.Mat(), Model(p, distinct));
  }
  const Parameters& last = all[std::size(all) - 1];
  ASSERT_EQ(CallOnWholeImage(last, src, &src), STATUS_OK);
  ASSERT_EQ(src.ImageData(), input.data);
  expect_repeated(src.Mat(), Model(last, distinct));
}

}  // namespace
}  // namespace KELRA
