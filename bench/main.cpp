#include <benchmark/benchmark.h>
#include <tbb/global_control.h>

#include <cstdlib>
#include <opencv2/core.hpp>
#include <optional>

#include "side_by_side.h"

// KELRA_BENCH_THREADS caps the threads of the library and of OpenCV alike.
int main(int argc, char** argv) {
  std::optional<tbb::global_control> cap;
  if (const char* threads = std::getenv("KELRA_BENCH_THREADS")) {
    const int count = std::atoi(threads);
    if (count < 1) {
      return 2;
    }
    cap.emplace(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(count));
    cv::setNumThreads(count);
  }
  KELRA::bench::RegisterAccess();
  KELRA::bench::RegisterConstantArithmetic();
  KELRA::bench::RegisterGeometry();
  KELRA::bench::RegisterHoleFilling();
  KELRA::bench::RegisterPaste();
  KELRA::bench::RegisterPointOperations();
  KELRA::bench::RegisterStatistics();
  KELRA::bench::RegisterTwoImages();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
