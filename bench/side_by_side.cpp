#include "side_by_side.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>

namespace KELRA::bench {
namespace {

using Images = std::vector<cv::Mat>;

const cv::Size kSizes[] = {{64, 64}, {640, 480}, {4096, 3000}};

std::string NameOf(cv::Size size, int type) {
  return std::to_string(size.width) + "x" + std::to_string(size.height) + "/" +
         (CV_MAT_DEPTH(type) == CV_8U ? "8" : "16") + "-bit x" + std::to_string(CV_MAT_CN(type));
}

cv::Mat Noise(cv::Size size, int type, int index) {
  cv::Mat image(size, type);
  cv::RNG random(static_cast<std::uint64_t>(20 + index));
  random.fill(image, cv::RNG::UNIFORM, 0, CV_MAT_DEPTH(type) == CV_8U ? 256 : 65536);
  return image;
}

template <class Run>
void Measure(const SeveralSideBySide& pair, cv::Size size, int type, const char* who, Run run) {
  const std::string name = pair.operation + "/" + NameOf(size, type) + "/" + who;
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    Images images;
    for (int i = 0; i < pair.inputs; ++i) {
      images.push_back(pair.make ? pair.make(size, type, i) : Noise(size, type, i));
    }
    run(state, images);
    const std::size_t bytes = images.size() * images[0].total() * images[0].elemSize();
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(bytes));
  })->UseRealTime();
}

// Times the calls on one output, which the first, untimed call brings into memory.
template <class Output, class Call>
void Time(benchmark::State& state, Call call) {
  Output dst;
  call(&dst);
  for (auto _ : state) {
    call(&dst);
    benchmark::DoNotOptimize(&dst);
    benchmark::ClobberMemory();
  }
}

}  // namespace

void Register(const SeveralSideBySide& pair) {
  for (const cv::Size size : kSizes) {
    for (const int type : pair.types) {
      Measure(pair, size, type, "kelra", [pair](benchmark::State& state, const Images& images) {
        KelImageOperation op;
        KelImageArray inputs;
        for (const cv::Mat& image : images) {
          inputs.Append(KelImage(image));
        }
        Time<KelImage>(state, [&](KelImage* dst) {
          if (const KelLong status = pair.ours(op, inputs, dst); status != STATUS_OK) {
            state.SkipWithError(("status " + std::to_string(status)).c_str());
          }
        });
      });
      Measure(pair, size, type, "opencv", [pair](benchmark::State& state, const Images& images) {
        Time<cv::Mat>(state, [&](cv::Mat* dst) { pair.opencv(images, dst); });
      });
      Measure(pair, size, type, "copy", [](benchmark::State& state, const Images& images) {
        // Every byte copied is read once and written once.
        const std::size_t bytes =
            images[0].total() * images[0].elemSize() * (images.size() + 1) / 2;
        const std::vector<std::uint8_t> src(bytes, 1);
        std::vector<std::uint8_t> dst(bytes, 2);
        for (auto _ : state) {
          std::memcpy(dst.data(), src.data(), bytes);
          benchmark::ClobberMemory();
        }
      });
    }
  }
}

void Register(const TwoImagesSideBySide& pair) {
  Register(SeveralSideBySide{
      pair.operation, 2,
      [pair](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
        return pair.ours(op, images[0], images[1], dst);
      },
      [pair](const Images& images, cv::Mat* dst) { pair.opencv(images[0], images[1], dst); },
      pair.types});
}

void Register(const SideBySide& pair) {
  Register(SeveralSideBySide{
      pair.operation, 1,
      [pair](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
        return pair.ours(op, images[0], dst);
      },
      [pair](const Images& images, cv::Mat* dst) { pair.opencv(images[0], dst); }, pair.types});
}

}  // namespace KELRA::bench
