#include "side_by_side.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace KELRA::bench {
namespace {

const cv::Size kSizes[] = {{64, 64}, {640, 480}, {4096, 3000}};
constexpr int kTypes[] = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};

std::string NameOf(cv::Size size, int type) {
  return std::to_string(size.width) + "x" + std::to_string(size.height) + "/" +
         (CV_MAT_DEPTH(type) == CV_8U ? "8" : "16") + "-bit x" + std::to_string(CV_MAT_CN(type));
}

cv::Mat Noise(cv::Size size, int type) {
  cv::Mat image(size, type);
  cv::RNG random(20);
  random.fill(image, cv::RNG::UNIFORM, 0, CV_MAT_DEPTH(type) == CV_8U ? 256 : 65536);
  return image;
}

template <class Run>
void Measure(const std::string& name, cv::Size size, int type, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    const cv::Mat image = Noise(size, type);
    run(state, image);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(image.total() * image.elemSize()));
  })->UseRealTime();
}

}  // namespace

void Register(const SideBySide& pair) {
  for (const cv::Size size : kSizes) {
    for (const int type : kTypes) {
      const std::string name = pair.operation + "/" + NameOf(size, type);
      Measure(name + "/kelra", size, type, [pair](benchmark::State& state, const cv::Mat& image) {
        KelImageOperation op;
        KelImage src(image);
        KelImage dst;
        // Untimed, so that all three write to pages that exist.
        if (const KelLong status = pair.ours(op, src, &dst); status != STATUS_OK) {
          state.SkipWithError(("status " + std::to_string(status)).c_str());
        }
        for (auto _ : state) {
          pair.ours(op, src, &dst);
          benchmark::DoNotOptimize(dst.ImageData());
        }
      });
      Measure(name + "/opencv", size, type, [pair](benchmark::State& state, const cv::Mat& image) {
        cv::Mat dst;
        pair.opencv(image, &dst);
        for (auto _ : state) {
          pair.opencv(image, &dst);
          benchmark::DoNotOptimize(dst.data);
        }
      });
      Measure(name + "/copy", size, type, [](benchmark::State& state, const cv::Mat& image) {
        cv::Mat dst = image.clone();
        for (auto _ : state) {
          std::memcpy(dst.data, image.data, image.total() * image.elemSize());
          benchmark::ClobberMemory();
        }
      });
    }
  }
}

}  // namespace KELRA::bench
