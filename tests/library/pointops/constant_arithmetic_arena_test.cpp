// Constant arithmetic called from inside a caller's own oneTBB arena.

#include <gtest/gtest.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <atomic>
#include <iterator>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "constant_methods.h"
#include "fake_settings.h"
#include "region_of_interest.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_reference::ArithmeticWithConstant;
using kelra_test::BytesOf;
using kelra_test::kConstantMethods;
using kelra_test::RandomImage;
using kelra_test::ScopedSettings;

constexpr int kRounds = 8;
constexpr int kValue = 7;
constexpr float kScale = 1.25F;
constexpr float kOffset = 3.5F;
// Large enough for the rows to be shared out.
constexpr int kRows = 120;
constexpr int kColumns = 1203;

struct Case {
  KelROI roi;
  cv::Mat expected[std::size(kConstantMethods)];
};

// All kinds of paths with what each method makes of the input.
std::vector<Case> CasesFor(const cv::Mat& input) {
  const cv::Mat all(input.size(), CV_8UC1, cv::Scalar(255));
  cv::Mat rectangle = cv::Mat::zeros(input.size(), CV_8UC1);
  rectangle(cv::Rect(5, 4, 1101, 107)).setTo(255);
  cv::Mat runs = cv::Mat::zeros(input.size(), CV_8UC1);
  KelRegion region(input.cols, input.rows);
  for (int row = 1; row < input.rows; row += 2) {
    region.Append({row, row, 1000});
    runs(cv::Rect(row, row, 1001 - row, 1)).setTo(255);
  }
  std::vector<Case> cases{{KelROI::WholeImage(), {}},
                          {KelROI::Rectangle(5, 4, 1101, 107), {}},
                          {KelROI::Region(region), {}}};
  for (std::size_t i = 0; i < std::size(kConstantMethods); ++i) {
    const auto work = [&](const cv::Mat& part) {
      return ArithmeticWithConstant(kConstantMethods[i].operation, part, kValue, kScale, kOffset);
    };
    cases[0].expected[i] = kelra_reference::OnPart(input, all, work);
    cases[1].expected[i] = kelra_reference::OnPart(input, rectangle, work);
    cases[2].expected[i] = kelra_reference::UnderMask(input, runs, work);
  }
  return cases;
}

TEST(ConstantArithmeticConcurrent, CallsInsideACallersArenaGiveTheSameResults) {
  const cv::Mat input = RandomImage(kRows, kColumns, CV_8UC1, 19);
  const std::vector<Case> cases = CasesFor(input);
  KelImage src(input);
  for (const int parallel : {0, 3}) {
    const ScopedSettings settings({.parallel = parallel});
    for (const int concurrency : {1, 2, 4}) {
      tbb::task_arena arena(concurrency);
      std::atomic<int> wrong{0};
      arena.execute([&] {
        tbb::parallel_for(0, kRounds, [&](int round) {
          const std::size_t i = static_cast<std::size_t>(round) % std::size(kConstantMethods);
          KelImageOperation object;
          for (const Case& c : cases) {
            KelImage dst;
            const KelLong status =
                kConstantMethods[i].Call(&object, src, c.roi, &dst, kValue, kScale, kOffset);
            wrong += status != STATUS_OK || BytesOf(dst.Mat()) != BytesOf(c.expected[i]) ? 1 : 0;
          }
        });
      });
      EXPECT_EQ(wrong, 0) << "concurrency " << concurrency << ", parallel setting " << parallel;
    }
  }
}

}  // namespace
}  // namespace KELRA
