// Calls from several threads at once. The thread sanitizer's run selects these by their name.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "KELRA/KelROIDataConvert.h"
#include "constant_methods.h"
#include "fake_settings.h"
#include "region_of_interest.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::ConstantMethod;
using kelra_test::kConstantMethods;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::ScopedSettings;

constexpr int kThreads = 4;
constexpr int kRounds = 3;
constexpr int kValue = 5;
constexpr float kScale = 0.6F;
constexpr float kOffset = 1.75F;

// Large enough for every call to be split.
constexpr int kRows = 300;
constexpr int kColumns = 401;

struct Task {
  KelROI roi;
  cv::Mat expected[4];  // of each method
};

std::vector<Task> Tasks(const cv::Mat& input) {
  KelRegion runs(kColumns, kRows);
  for (int row = 10; row < kRows - 10; ++row) {
    runs.Append({row, row / 3, row + 90});
  }
  std::vector<Task> tasks = {{KelROI::WholeImage(), {}},
                             {KelROI::Circle({200, 150}, 120), {}},
                             {KelROI::Region(runs), {}}};
  for (Task& task : tasks) {
    cv::Mat image = input;
    cv::Mat mask(input.size(), CV_8UC1, cv::Scalar(255));
    if (task.roi.ROIType() != KEL_ROI_WHOLE_IMAGE) {
      EXPECT_EQ(KelROIDataConvert().GenMaskImage(image, task.roi, &mask, 1, 0), STATUS_OK);
    }
    for (const ConstantMethod& method : kConstantMethods) {
      const auto work = [&](const cv::Mat& mat) {
        return kelra_reference::ArithmeticWithConstant(method.operation, mat, kValue, kScale,
                                                       kOffset);
      };
      task.expected[method.operation] = task.roi.ROIType() == KEL_ROI_REGION
                                            ? kelra_reference::UnderMask(input, mask, work)
                                            : kelra_reference::OnPart(input, mask, work);
    }
  }
  return tasks;
}

// Runs every method on every region in all threads, each with what `object_of` gives it, and
// returns how many results are wrong.
template <class ObjectOf>
int WrongResults(const cv::Mat& input, const std::vector<Task>& tasks, ObjectOf object_of) {
  std::atomic<int> wrong{0};
  KelImage src(input);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      KelImageOperation own;
      KelImageOperation* object = object_of(&own);
      KelImage dst;
      for (int round = 0; round < kRounds; ++round) {
        for (std::size_t i = 0; i < tasks.size(); ++i) {
          const Task& task = tasks[(i + static_cast<std::size_t>(t)) % tasks.size()];
          for (const ConstantMethod& method : kConstantMethods) {
            const KelLong status =
                method.Call(object, src, task.roi, &dst, kValue, kScale, kOffset);
            if (status != STATUS_OK || !SameImage(dst.Mat(), task.expected[method.operation])) {
              wrong.fetch_add(1, std::memory_order_relaxed);
            }
          }
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return wrong;
}

TEST(ConstantArithmeticConcurrent, SeparateObjectsOnOneInput) {
  for (const int type : {CV_8UC1, CV_16UC3}) {
    const cv::Mat input = RandomImage(kRows, kColumns, type);
    const std::vector<Task> tasks = Tasks(input);
    for (const int parallel : {0, 3}) {
      for (const int efficiency : {0, 1}) {
        const ScopedSettings settings({.efficiency = efficiency, .parallel = parallel});
        EXPECT_EQ(WrongResults(input, tasks, [](KelImageOperation* own) { return own; }), 0);
      }
    }
  }
}

TEST(ConstantArithmeticConcurrent, OneObjectOutsideEfficiencyMode) {
  const cv::Mat input = RandomImage(kRows, kColumns, CV_8UC3);
  const std::vector<Task> tasks = Tasks(input);
  KelImageOperation shared;
  EXPECT_EQ(WrongResults(input, tasks, [&](KelImageOperation*) { return &shared; }), 0);
}

}  // namespace
}  // namespace KELRA
