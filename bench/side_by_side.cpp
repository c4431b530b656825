#include "side_by_side.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "measuring.h"
#include "ours_only.h"
#include "regions.h"

namespace KELRA::bench {
namespace {

const cv::Size kSizes[] = {{64, 64}, {640, 480}, {1920, 1080}, {4096, 3000}};
const std::vector<int> kTypesUnderRegions = {CV_8UC1, CV_16UC3};

struct Threads {
  const char* name;
  std::optional<int> limit;
};
const Threads kThreads[] = {{"1-thread", 1}, {"all-threads", std::nullopt}};

struct Case {
  CallsSideBySide pair;
  Work work;
};

std::vector<Case>& Cases() {
  static std::vector<Case> cases;
  return cases;
}

std::string NameOf(const CallsSideBySide& pair, cv::Size size, int type, const Threads& threads) {
  return pair.operation + "/" + std::to_string(size.width) + "x" + std::to_string(size.height) +
         "/" + (CV_MAT_DEPTH(type) == CV_8U ? "8" : "16") + "-bit x" +
         std::to_string(CV_MAT_CN(type)) + "/" + pair.region + "/" + threads.name;
}

// What a call reads and writes at least.
double BytesMoved(const Case& benchmark_case, cv::Size size, int type) {
  return benchmark_case.work == Work::kCallOnly ? 0
                                                : benchmark_case.pair.images_moved * size.area() *
                                                      static_cast<double>(CV_ELEM_SIZE(type));
}

// A copy that reads and writes as many bytes as a call does.
std::function<void()> CopyOf(double bytes_moved) {
  const auto bytes = static_cast<std::size_t>(bytes_moved / 2);
  struct Buffers {
    std::vector<std::uint8_t> src;
    std::vector<std::uint8_t> dst;
  };
  const auto buffers = std::make_shared<Buffers>(
      Buffers{std::vector<std::uint8_t>(bytes, 1), std::vector<std::uint8_t>(bytes, 2)});
  return [buffers] {
    std::memcpy(buffers->dst.data(), buffers->src.data(), buffers->src.size());
    benchmark::DoNotOptimize(buffers->dst.data());
    benchmark::ClobberMemory();
  };
}

void Measure(benchmark::State& state, const Case& benchmark_case, cv::Size size, int type,
             const Threads& threads) {
  const ThreadLimit limit(threads.limit);
  const CallsSideBySide& pair = benchmark_case.pair;
  const Calls calls = pair.make(size, type);
  KelLong status = STATUS_OK;
  std::vector<Side> sides = {{[&] {
                                if (const KelLong result = calls.ours(); result != STATUS_OK) {
                                  status = result;
                                }
                              },
                              calls.prepare},
                             {calls.opencv, calls.prepare}};
  if (benchmark_case.work != Work::kCallOnly) {
    sides.push_back({CopyOf(BytesMoved(benchmark_case, size, type))});
  }
  for (auto _ : state) {
    if (const OursOnly& ours_only = RequestedOursOnly(); ours_only.seconds > 0) {
      const Usage usage = CallFor(ours_only, sides[0]);
      state.SetIterationTime(usage.seconds);
      state.counters["page_faults"] = usage.page_faults;
      state.counters["bytes_moved"] = BytesMoved(benchmark_case, size, type);
      continue;
    }
    const std::vector<Rounds> times = TimeInTurn(sides);
    state.SetIterationTime(Median(times[0]));
    state.counters["ours"] = Median(times[0]);
    state.counters["opencv"] = Median(times[1]);
    state.counters["by_opencv"] = MedianRatio(times[0], times[1]);
    if (benchmark_case.work != Work::kCallOnly) {
      state.counters["by_copy"] = MedianRatio(times[0], times[2]);
    }
    state.counters["row_kernels"] = benchmark_case.work == Work::kRowKernels ? 1 : 0;
    state.counters["noise"] = benchmark_case.work == Work::kNoise ? 1 : 0;
  }
  if (status != STATUS_OK) {
    state.SkipWithError(("status " + std::to_string(status)).c_str());
  }
}

void RegisterBenchmark(const Case& benchmark_case, cv::Size size, int type,
                       const Threads& threads) {
  benchmark::RegisterBenchmark(
      NameOf(benchmark_case.pair, size, type, threads).c_str(),
      [=](benchmark::State& state) { Measure(state, benchmark_case, size, type, threads); })
      ->Iterations(1)
      ->UseManualTime()
      ->Unit(benchmark::kMicrosecond);
}

bool Includes(const std::vector<int>& types, int type) {
  return std::find(types.begin(), types.end(), type) != types.end();
}

// The object, the images and the outputs of calls on images that exist as matrices.
struct OnImages {
  KelImageOperation op;
  std::vector<cv::Mat> mats;
  KelImageArray images;
  KelImage our_dst;
  cv::Mat opencv_dst;
  cv::Mat part;  // what OpenCV makes of a region's bounding box
};

std::shared_ptr<OnImages> CallsOn(const std::vector<cv::Mat>& mats) {
  auto on = std::make_shared<OnImages>();
  on->mats = mats;
  for (const cv::Mat& mat : mats) {
    on->images.Append(KelImage(mat));
  }
  return on;
}

std::vector<cv::Mat> NoiseImages(int count, cv::Size size, int type) {
  std::vector<cv::Mat> images;
  images.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    images.push_back(Noise(size, type, i));
  }
  return images;
}

void ByOpenCv(const RegionSideBySide& pair, const Region& region, OnImages& on) {
  const cv::Mat& src = on.mats[0];
  cv::Mat& dst = on.opencv_dst;
  if (region.box.size() == src.size()) {
    pair.opencv(src, &dst);
    return;
  }
  src.copyTo(dst);
  cv::Mat target = dst(region.box);
  if (region.mask.empty()) {
    pair.opencv(src(region.box), &target);
    return;
  }
  pair.opencv(src(region.box), &on.part);
  on.part.copyTo(target, region.mask);
}

}  // namespace

const cv::Mat& Noise(cv::Size size, int type, int index) {
  static std::pair<cv::Size, int> last;
  static std::map<int, cv::Mat> images;
  if (last != std::pair(size, type)) {
    images.clear();
    last = {size, type};
  }
  cv::Mat& image = images[index];
  if (image.empty()) {
    image.create(size, type);
    cv::RNG random(static_cast<std::uint64_t>(20 + index));
    random.fill(image, cv::RNG::UNIFORM, 0, CV_MAT_DEPTH(type) == CV_8U ? 256 : 65536);
  }
  return image;
}

void Register(const CallsSideBySide& pair, Work work) { Cases().push_back({pair, work}); }

void Register(const SeveralSideBySide& pair, Work work) {
  Register(CallsSideBySide{pair.operation,
                           [pair](cv::Size size, int type) {
                             const auto on = CallsOn(NoiseImages(pair.inputs, size, type));
                             return Calls{
                                 [=] { return pair.ours(on->op, on->images, &on->our_dst); },
                                 [=] { pair.opencv(on->mats, &on->opencv_dst); }};
                           },
                           pair.inputs + 1.0, pair.types, kWhole, pair.smallest},
           work);
}

void Register(const TwoImagesSideBySide& pair, Work work) {
  Register(SeveralSideBySide{pair.operation, 2,
                             [pair](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
                               return pair.ours(op, images[0], images[1], dst);
                             },
                             [pair](const std::vector<cv::Mat>& images, cv::Mat* dst) {
                               pair.opencv(images[0], images[1], dst);
                             },
                             pair.types, pair.smallest},
           work);
}

void Register(const SideBySide& pair, Work work) {
  Register(SeveralSideBySide{pair.operation, 1,
                             [pair](KelImageOperation& op, KelImageArray& images, KelImage* dst) {
                               return pair.ours(op, images[0], dst);
                             },
                             [pair](const std::vector<cv::Mat>& images, cv::Mat* dst) {
                               pair.opencv(images[0], dst);
                             },
                             pair.types},
           work);
}

void Register(const RegionSideBySide& pair, Work work) {
  const auto under = [&](const char* name, const std::vector<int>& types) {
    const auto make = [pair, name](cv::Size size, int type) {
      const auto on = CallsOn({pair.make ? pair.make(size, type) : Noise(size, type)});
      const auto region = RegionOn(size, name);
      return Calls{[=] { return pair.ours(on->op, on->images[0], region->roi, &on->our_dst); },
                   [=] { ByOpenCv(pair, *region, *on); }};
    };
    Register(CallsSideBySide{pair.operation, make, 2, types, name}, work);
  };
  under(kWhole, pair.types);
  std::vector<int> types;
  std::copy_if(pair.types.begin(), pair.types.end(), std::back_inserter(types),
               [](int type) { return Includes(kTypesUnderRegions, type); });
  for (const char* name : kPartialRegions) {
    under(name, types);
  }
}

void RegisterBenchmarks() {
  for (const Case& benchmark_case : Cases()) {
    const CallsSideBySide& pair = benchmark_case.pair;
    if (pair.region == kWhole && Includes(pair.types, CV_8UC1)) {
      RegisterBenchmark(benchmark_case, pair.smallest, CV_8UC1, kThreads[1]);
    }
  }
  for (const cv::Size size : kSizes) {
    for (const int type : kAllTypes) {
      for (const Case& benchmark_case : Cases()) {
        if (!Includes(benchmark_case.pair.types, type)) {
          continue;
        }
        for (const Threads& threads : kThreads) {
          RegisterBenchmark(benchmark_case, size, type, threads);
        }
      }
    }
  }
}

}  // namespace KELRA::bench
