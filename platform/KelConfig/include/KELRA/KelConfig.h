// The three settings that the image operations read when they are loaded.
//
// They come from the table [image_operation] of the TOML file named by KELRA_CONFIG (keys `gpu`,
// `efficiency`, `tbb`); the environment variables KELRA_GPU, KELRA_EFFICIENCY and KELRA_TBB win
// over it. A setting that cannot be read is reported once on standard error and leaves its default.
#pragma once

#include "KELRA/KelBase.h"

#if defined(KelConfig_EXPORTS)
#define KELCONFIG_API KELRA_EXPORT
#else
#define KELCONFIG_API KELRA_IMPORT
#endif

namespace KELRA {

// Each returns 0 and writes the setting, or returns a code of its own (1400xxxx) and leaves `value`
// as it was.
KELCONFIG_API KelLong KelGetStaticGPU(bool* value);        // default false
KELCONFIG_API KelLong KelGetStaticEfficiency(int* value);  // default 0
KELCONFIG_API KelLong KelGetStaticTBB(int* value);         // default 0

}  // namespace KELRA
