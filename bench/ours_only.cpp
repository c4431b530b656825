#include "ours_only.h"

#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string_view>

namespace KELRA::bench {
namespace {

void Tell(const OursOnly& request, std::string_view command) {
  if (!request.perf_control.empty()) {
    std::ofstream(request.perf_control) << command << std::endl;
  }
}

double PageFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_minflt + usage.ru_majflt);
}

}  // namespace

OursOnly& RequestedOursOnly() {
  static OursOnly request;
  return request;
}

void TakeOptions(OursOnly* request, int* argc, char** argv) {
  constexpr std::string_view kSeconds = "--ours_for=";
  constexpr std::string_view kControl = "--perf_control=";
  int kept = 0;
  for (int i = 0; i < *argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument.substr(0, kSeconds.size()) == kSeconds) {
      request->seconds = std::atof(argv[i] + kSeconds.size());
    } else if (argument.substr(0, kControl.size()) == kControl) {
      request->perf_control = argument.substr(kControl.size());
    } else {
      argv[kept++] = argv[i];
    }
  }
  *argc = kept;
}

Usage CallFor(const OursOnly& request, const Side& ours) {
  using Clock = std::chrono::steady_clock;
  const int batch = CallsPerBatch(ours);
  Tell(request, "enable");
  const double faults_before = PageFaults();
  const Clock::time_point end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                   std::chrono::duration<double>(request.seconds));
  double seconds = 0;
  double calls = 0;
  while (Clock::now() < end) {
    seconds += SecondsFor(ours, batch);
    calls += batch;
  }
  const double faults = PageFaults() - faults_before;
  Tell(request, "disable");
  return {seconds / calls, faults / calls};
}

}  // namespace KELRA::bench
