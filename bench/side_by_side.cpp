#include "side_by_side.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace KELRA::bench {
namespace {

const cv::Size kSizes[] = {{64, 64}, {640, 480}, {4096, 3000}};

std::string NameOf(cv::Size size, int type) {
  return std::to_string(size.width) + "x" + std::to_string(size.height) + "/" +
         (CV_MAT_DEPTH(type) == CV_8U ? "8" : "16") + "-bit x" + std::to_string(CV_MAT_CN(type));
}

cv::Mat Noise(cv::Size size, int type, std::uint64_t seed) {
  cv::Mat image(size, type);
  cv::RNG random(seed);
  random.fill(image, cv::RNG::UNIFORM, 0, CV_MAT_DEPTH(type) == CV_8U ? 256 : 65536);
  return image;
}

// Times `call`, which writes its result into the output that it is given. A first call is not
// timed, so that all write to pages that exist.
template <class Output, class Call>
void Time(benchmark::State& state, const Call& call) {
  Output dst;
  call(&dst);
  for (auto _ : state) {
    call(&dst);
    benchmark::DoNotOptimize(&dst);
    benchmark::ClobberMemory();
  }
}

struct Contenders {
  std::string operation;
  std::function<KelLong(KelImageOperation& op, KelImage& image, KelImage& second, KelImage* dst)>
      ours;
  std::function<void(const cv::Mat& image, const cv::Mat& second, cv::Mat* dst)> opencv;
  int images_moved;  // read and written
};

template <class Run>
void Measure(const std::string& name, cv::Size size, int type, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    const cv::Mat image = Noise(size, type, 20);
    run(state, image, Noise(size, type, 21));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(image.total() * image.elemSize()));
  })->UseRealTime();
}

void Register(const Contenders& contenders, cv::Size size, int type) {
  const std::string name = contenders.operation + "/" + NameOf(size, type);
  Measure(name + "/kelra", size, type,
          [=](benchmark::State& state, const cv::Mat& image, const cv::Mat& second) {
            KelImageOperation op;
            KelImage first_image(image);
            KelImage second_image(second);
            Time<KelImage>(state, [&](KelImage* dst) {
              const KelLong status = contenders.ours(op, first_image, second_image, dst);
              if (status != STATUS_OK) {
                state.SkipWithError(("status " + std::to_string(status)).c_str());
              }
            });
          });
  Measure(name + "/opencv", size, type,
          [=](benchmark::State& state, const cv::Mat& image, const cv::Mat& second) {
            Time<cv::Mat>(state, [&](cv::Mat* dst) { contenders.opencv(image, second, dst); });
          });
  Measure(name + "/copy", size, type,
          [=](benchmark::State& state, const cv::Mat& image, const cv::Mat&) {
            // Every byte copied is read once and written once.
            const std::size_t bytes = image.total() * image.elemSize() *
                                      static_cast<std::size_t>(contenders.images_moved) / 2;
            const std::vector<std::uint8_t> src(bytes, 1);
            std::vector<std::uint8_t> dst(bytes, 2);
            for (auto _ : state) {
              std::memcpy(dst.data(), src.data(), bytes);
              benchmark::ClobberMemory();
            }
          });
}

void RegisterForAll(const Contenders& contenders, const std::vector<int>& types) {
  for (const cv::Size size : kSizes) {
    for (const int type : types) {
      Register(contenders, size, type);
    }
  }
}

}  // namespace

void Register(const SideBySide& pair) {
  RegisterForAll(
      {pair.operation,
       [=](KelImageOperation& op, KelImage& image, KelImage&, KelImage* dst) {
         return pair.ours(op, image, dst);
       },
       [=](const cv::Mat& image, const cv::Mat&, cv::Mat* dst) { pair.opencv(image, dst); }, 2},
      pair.types);
}

void Register(const TwoImagesSideBySide& pair) {
  RegisterForAll({pair.operation, pair.ours, pair.opencv, 3}, pair.types);
}

}  // namespace KELRA::bench
