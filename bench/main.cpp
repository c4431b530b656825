#include <benchmark/benchmark.h>
#include <tbb/version.h>

#include <opencv2/core/version.hpp>

#include "ours_only.h"
#include "side_by_side.h"

int main(int argc, char** argv) {
  KELRA::bench::RegisterAccess();
  KELRA::bench::RegisterConstantArithmetic();
  KELRA::bench::RegisterCreation();
  KELRA::bench::RegisterGeometry();
  KELRA::bench::RegisterHoleFilling();
  KELRA::bench::RegisterNoise();
  KELRA::bench::RegisterPaste();
  KELRA::bench::RegisterPointOperations();
  KELRA::bench::RegisterStatistics();
  KELRA::bench::RegisterTwoImages();
  KELRA::bench::RegisterBenchmarks();
  KELRA::bench::RegisterDoubling();
  benchmark::AddCustomContext("opencv", CV_VERSION);
  benchmark::AddCustomContext("onetbb", TBB_runtime_version());
  benchmark::AddCustomContext("compiler", KELRA_COMPILER);
  KELRA::bench::TakeOptions(&KELRA::bench::RequestedOursOnly(), &argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
