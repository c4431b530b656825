// For a profiler: our side alone, called for some time.
#pragma once

#include <string>

#include "measuring.h"

namespace KELRA::bench {

// --ours_for=SECONDS makes every benchmark call our side only, for so long. --perf_control=FIFO
// names where perf is told when the calls begin and end, so that it sees nothing else.
struct OursOnly {
  double seconds = 0;
  std::string perf_control;
};

// Set by main before any benchmark runs.
OursOnly& RequestedOursOnly();

// Takes the options above out of the arguments.
void TakeOptions(OursOnly* request, int* argc, char** argv);

// Of one call.
struct Usage {
  double seconds;
  double page_faults;
};
Usage CallFor(const OursOnly& request, const Side& ours);

}  // namespace KELRA::bench
