// The same code on both sides: how far from 1 a ratio lies by chance.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

#include "regions.h"
#include "side_by_side.h"

namespace KELRA::bench {
namespace {

Calls CopyBesideItself(cv::Size size, int type) {
  struct On {
    cv::Mat src, dst, other_dst;
  };
  const cv::Mat& src = Noise(size, type);
  const auto on = std::make_shared<On>(On{src, src.clone(), src.clone()});
  const auto copy = [on](const cv::Mat& dst) {
    std::memcpy(dst.data, on->src.data, dst.total() * dst.elemSize());
    benchmark::DoNotOptimize(dst.data);
    benchmark::ClobberMemory();
  };
  return {[=] {
            copy(on->dst);
            return STATUS_OK;
          },
          [=] { copy(on->other_dst); }};
}

// On all threads where there are several.
Calls BitNotBesideItself(cv::Size size, int type) {
  struct On {
    KelImageOperation op;
    KelImage src, dst, other_dst;
    std::shared_ptr<Region> whole;
  };
  const auto on = std::make_shared<On>();
  on->src = KelImage(Noise(size, type));
  on->whole = RegionOn(size, kWhole);
  return {[=] { return on->op.BitNot(on->src, on->whole->roi, &on->dst); },
          [=] { on->op.BitNot(on->src, on->whole->roi, &on->other_dst); }};
}

}  // namespace

void RegisterNoise() {
  Register(CallsSideBySide{"A copy beside itself", CopyBesideItself, 2}, Work::kNoise);
  Register(CallsSideBySide{"BitNot beside itself", BitNotBesideItself, 2}, Work::kNoise);
}

}  // namespace KELRA::bench
