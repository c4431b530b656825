// How an operation's time grows when the pixels double.

#include <benchmark/benchmark.h>

#include <iterator>

#include "measuring.h"
#include "side_by_side.h"

namespace KELRA::bench {
namespace {

using Call = KelLong (*)(KelImageOperation& op, KelImage& image, KelImage* dst);

struct Operation {
  const char* name;
  Call call;
};

const Operation kOperations[] = {
    {"AddConst",
     [](KelImageOperation& op, KelImage& image, KelImage* dst) {
       static KelROI whole;
       return op.AddConst(image, whole, dst, 40, 1.1F, 3.0F);
     }},
    {"Add",
     [](KelImageOperation& op, KelImage& image, KelImage* dst) {
       KelPoint origin;
       return op.Add(image, image, dst, origin, 0, 0.5F, 3.0F);
     }},
    {"PixelMax",
     [](KelImageOperation& op, KelImage& image, KelImage* dst) {
       KelImageArray images{image, image, image, image};
       return op.PixelMax(images, dst);
     }},
    {"Sqrt",
     [](KelImageOperation& op, KelImage& image, KelImage* dst) {
       static KelROI whole;
       return op.Sqrt(image, whole, dst);
     }},
    {"Transpose", [](KelImageOperation& op, KelImage& image,
                     KelImage* dst) { return op.Transpose(image, dst); }},
    {"Warp", [](KelImageOperation& op, KelImage& image, KelImage* dst) {
       return op.Warp(image, dst, static_cast<float>(image.Width() / 2),
                      static_cast<float>(image.Height() / 2));
     }}};

// Each but the last has half the pixels of the next.
const cv::Size kSizes[] = {{64, 64},     {128, 64},    {128, 128},  {256, 128},   {256, 256},
                           {512, 256},   {512, 512},   {1024, 512}, {1024, 1024}, {2048, 1024},
                           {2048, 2048}, {4096, 2048}, {4096, 3000}};

void Measure(benchmark::State& state, Call call, cv::Size small, cv::Size large) {
  struct OnSize {
    KelImageOperation op;
    KelImage image;
    KelImage dst;
  };
  const auto side = [call](OnSize& on) {
    return Side{[call, &on] { benchmark::DoNotOptimize(call(on.op, on.image, &on.dst)); }};
  };
  OnSize on_small{{}, KelImage(Noise(small, CV_8UC1).clone()), {}};
  OnSize on_large{{}, KelImage(Noise(large, CV_8UC1).clone()), {}};
  for (auto _ : state) {
    const std::vector<Rounds> times = TimeInTurn({side(on_small), side(on_large)});
    state.SetIterationTime(Median(times[1]));
    // The last step is less than a doubling: for each pixel more, as much time as were it one.
    const double pixels = static_cast<double>(large.area()) / small.area();
    state.counters["doubling"] = 1 + (MedianRatio(times[1], times[0]) - 1) / (pixels - 1);
  }
}

}  // namespace

void RegisterDoubling() {
  for (const Operation& operation : kOperations) {
    for (std::size_t i = 0; i + 1 < std::size(kSizes); ++i) {
      const cv::Size small = kSizes[i];
      const cv::Size large = kSizes[i + 1];
      const std::string name = std::string("Doubling ") + operation.name + "/" +
                               std::to_string(large.width) + "x" + std::to_string(large.height) +
                               "/8-bit x1/whole/all-threads";
      benchmark::RegisterBenchmark(
          name.c_str(),
          [=](benchmark::State& state) { Measure(state, operation.call, small, large); })
          ->Iterations(1)
          ->UseManualTime()
          ->Unit(benchmark::kMicrosecond);
    }
  }
}

}  // namespace KELRA::bench
