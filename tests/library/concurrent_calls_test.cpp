// Every family's methods from several threads at once, and in forked processes.

#include <gtest/gtest.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "forked_child.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::ExitCodeOfFork;
using kelra_test::RandomImage;
using kelra_test::SameImage;

constexpr int kThreads = 4;
constexpr int kRounds = 2;

// Large enough for every call to be split.
constexpr int kRows = 700;
constexpr int kColumns = 901;

struct Inputs {
  cv::Mat first = RandomImage(kRows, kColumns, CV_8UC1, 1);
  cv::Mat second = RandomImage(kRows, kColumns, CV_8UC1, 2);
  cv::Mat binary = first > 100;
};

KelRegion Runs() {
  KelRegion runs(kColumns, kRows);
  for (int row = 10; row < kRows - 10; ++row) {
    runs.Append({row, row / 3, row + 90});
  }
  return runs;
}

struct Call {
  const char* name;
  std::function<KelLong(KelImageOperation& op, const Inputs& inputs, KelImage* result)> run;
};

std::vector<Call> Calls() {
  static KelROI whole;
  static KelROI disc = KelROI::Circle({200, 150}, 120);
  static KelROI runs = KelROI::Region(Runs());
  using Op = KelImageOperation;
  std::vector<Call> calls;
  const auto on_one = [&](const char* name, auto call) {
    calls.push_back({name, [=](Op& op, const Inputs& inputs, KelImage* result) {
                       KelImage image(inputs.first);
                       return call(op, image, result);
                     }});
  };
  const auto on_two = [&](const char* name, auto call) {
    calls.push_back({name, [=](Op& op, const Inputs& inputs, KelImage* result) {
                       KelImage first(inputs.first);
                       KelImage second(inputs.second);
                       return call(op, first, second, result);
                     }});
  };
  on_one("AddConst", [](Op& op, KelImage& in, KelImage* out) {
    return op.AddConst(in, disc, out, 7, 1.1F, 3);
  });
  on_one("BitNot", [](Op& op, KelImage& in, KelImage* out) { return op.BitNot(in, runs, out); });
  on_one("Sqrt", [](Op& op, KelImage& in, KelImage* out) { return op.Sqrt(in, whole, out); });
  on_one("DifferenceConst",
         [](Op& op, KelImage& in, KelImage* out) { return op.DifferenceConst(in, disc, out, 60); });
  on_one("CompareConst",
         [](Op& op, KelImage& in, KelImage* out) { return op.CompareConst(in, runs, out, 60, 7); });
  on_one("Transpose", [](Op& op, KelImage& in, KelImage* out) { return op.Transpose(in, out); });
  on_one("Affine", [](Op& op, KelImage& in, KelImage* out) {
    KelPointArray from{{0, 0}, {400, 0}, {0, 200}};
    KelPointArray to{{10, 5}, {380, 20}, {5, 190}};
    return op.Affine(in, out, from, to);
  });
  on_one("Perspective", [](Op& op, KelImage& in, KelImage* out) {
    KelPointArray from{{0, 0}, {400, 0}, {0, 200}, {400, 200}};
    KelPointArray to{{10, 5}, {380, 20}, {5, 190}, {390, 215}};
    return op.Perspective(in, out, from, to);
  });
  on_one("CreateConst", [](Op& op, KelImage& in, KelImage* out) {
    return op.CreateConst(out, 2 * in.Height(), in.Width(), KEL_16U, 3, {700, 80, 9, 0});
  });
  on_one("AddBorder", [](Op& op, KelImage& in, KelImage* out) {
    return op.AddBorder(in, out, 3, 4, 5, 6, {9, 9, 9, 9});
  });
  on_one("Warp", [](Op& op, KelImage& in, KelImage* out) { return op.Warp(in, out, 250, 150); });
  on_one("Unwarp", [](Op& op, KelImage& in, KelImage* out) {
    return op.Unwarp(in, out, 250, 150, 0, 360, 0, 500);
  });
  on_one("Copy", [](Op& op, KelImage& in, KelImage* out) { return op.Copy(in, out); });
  on_one("SetRegionValue", [](Op& op, KelImage& in, KelImage* out) {
    KelRegionArray regions{Runs(), Runs()};
    return op.SetRegionValue(in, out, regions, 1, 200);
  });
  on_one("ImageDepthConvert", [](Op& op, KelImage& in, KelImage* out) {
    return op.ImageDepthConvert(in, out, KEL_16U);
  });
  on_one("ImageConvertBITMAP", [](Op& op, KelImage& in, KelImage* out) {
    const cv::Mat even = in.Mat().colRange(0, kColumns - 1).clone();
    const HBITMAP bitmap = CreateBitmap(even.cols, even.rows, 1, 8, even.data);
    const auto handle = static_cast<KelLong>(reinterpret_cast<std::intptr_t>(bitmap));
    return op.ImageConvertBITMAP(out, handle, even.rows, even.cols, 8, 1, 0);
  });
  calls.push_back({"ImageFill", [](Op& op, const Inputs& inputs, KelImage* out) {
                     KelImage image(inputs.binary(cv::Rect(0, 0, 90, 90)).clone());
                     return op.ImageFill(image, whole, false, out);
                   }});
  on_two("Add", [](Op& op, KelImage& a, KelImage& b, KelImage* out) {
    KelPoint at{20, 30};
    return op.Add(a, b, out, at, 0, 0.5F, 3);
  });
  on_two("Multiply, turned", [](Op& op, KelImage& a, KelImage& b, KelImage* out) {
    KelPoint at{20, 200};
    return op.Multiply(a, b, out, at, 30, 0.01F, 3);
  });
  on_two("BitXor", [](Op& op, KelImage& a, KelImage& b, KelImage* out) {
    KelPoint at{0, 0};
    return op.BitXor(a, b, out, at, 0);
  });
  on_two("Compare",
         [](Op& op, KelImage& a, KelImage& b, KelImage* out) { return op.Compare(a, b, out, 7); });
  on_two("Difference",
         [](Op& op, KelImage& a, KelImage& b, KelImage* out) { return op.Difference(a, b, out); });
  on_two("Paste", [](Op& op, KelImage& a, KelImage& b, KelImage* out) {
    KelPoint at{100, 100};
    return op.Paste(a, b, out, at, 30);
  });
  on_two("Paste in a grid", [](Op& op, KelImage& a, KelImage& b, KelImage* out) {
    KelImageArray images{a, b};
    return op.Paste(images, out, 1, 2, 5, 0);
  });
  on_two("PixelMax", [](Op& op, KelImage& a, KelImage& b, KelImage* out) {
    KelImageArray images{a, b};
    return op.PixelMax(images, out);
  });
  on_two("PixelAverage", [](Op& op, KelImage& a, KelImage& b, KelImage* out) {
    KelImageArray images{a, b, a};
    return op.PixelAverage(images, out, 3);
  });
  return calls;
}

// Makes every call, beginning with the one of index `start`; returns the names of those whose
// results differ from `expected`.
std::string Differing(const std::vector<Call>& calls, const Inputs& inputs,
                      const std::vector<cv::Mat>& expected, std::size_t start) {
  KelImageOperation op;
  std::string names;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    const std::size_t index = (start + i) % calls.size();
    KelImage result;
    if (calls[index].run(op, inputs, &result) != STATUS_OK ||
        !SameImage(result.Mat(), expected[index])) {
      names += std::string(calls[index].name) + "; ";
    }
  }
  return names;
}

std::vector<cv::Mat> ResultsOf(const std::vector<Call>& calls, const Inputs& inputs) {
  std::vector<cv::Mat> results;
  for (const Call& call : calls) {
    KelImageOperation op;
    KelImage result;
    EXPECT_EQ(call.run(op, inputs, &result), STATUS_OK) << call.name;
    results.push_back(result.Mat().clone());
  }
  return results;
}

TEST(CallsConcurrent, SeparateObjectsInSeveralThreads) {
  const std::vector<Call> calls = Calls();
  const Inputs inputs;
  const std::vector<cv::Mat> expected = ResultsOf(calls, inputs);
  std::vector<std::string> differing(kThreads);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round) {
        differing[t] += Differing(calls, inputs, expected, t * calls.size() / kThreads);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(differing, std::vector<std::string>(kThreads));
}

TEST(CallsConcurrent, SeparateObjectsInTasksOfAnArena) {
  const std::vector<Call> calls = Calls();
  const Inputs inputs;
  const std::vector<cv::Mat> expected = ResultsOf(calls, inputs);
  for (const int slots : {1, 2, 4}) {
    std::vector<std::string> differing(kThreads);
    tbb::task_arena(slots).execute([&] {
      tbb::parallel_for(std::size_t{0}, differing.size(), [&](std::size_t i) {
        differing[i] = Differing(calls, inputs, expected, i * calls.size() / kThreads);
      });
    });
    EXPECT_EQ(differing, std::vector<std::string>(kThreads)) << slots << " slots";
  }
}

TEST(ForkedProcess, ComputesTheSameAsItsParent) {
  const std::vector<Call> calls = Calls();
  const Inputs inputs;
  const std::vector<cv::Mat> expected = ResultsOf(calls, inputs);
  for (std::size_t i = 0; i < calls.size(); i += 5) {
    const int exit_code =
        ExitCodeOfFork([&] { return Differing(calls, inputs, expected, i).empty() ? 0 : 1; });
    EXPECT_EQ(exit_code, 0) << "beginning with " << calls[i].name;
  }
  EXPECT_EQ(Differing(calls, inputs, expected, 0), "");
}

// What another thread holds at the moment of the fork stays held in the child.
TEST(ForkedProcess, WorksWhenAnotherThreadWasInsideACall) {
  const cv::Mat input = RandomImage(kRows, kColumns, CV_8UC1);
  const auto brightened = [&] {
    KelImageOperation op;
    KelImage src(input);
    KelImage dst;
    KelROI whole;
    return op.AddConst(src, whole, &dst, 40, 1, 0) == STATUS_OK ? dst.Mat() : cv::Mat();
  };
  const cv::Mat expected = brightened();
  std::atomic<bool> is_over{false};
  std::thread other([&] {
    while (!is_over) {
      brightened();
    }
  });
  int failed = 0;
  for (int i = 0; i < 100; ++i) {
    failed +=
        ExitCodeOfFork([&] { return SameImage(brightened(), expected) ? 0 : 1; }) == 0 ? 0 : 1;
  }
  is_over = true;
  other.join();
  EXPECT_EQ(failed, 0);
}

}  // namespace
}  // namespace KELRA
