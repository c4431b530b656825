// The rim of a set of pixels.
#pragma once

#include <vector>

#include "KELRA/KelData.h"

namespace KELRA {

// The pixels of which one of the four neighbours is not in the set. `runs` and the result are
// ordered by row, then by column; no two of their runs overlap or touch.
std::vector<KelRun> RimOf(const std::vector<KelRun>& runs);

}  // namespace KELRA
