// The three settings that the image operations read when they are loaded.
//
// They come from the table [image_operation] of the TOML file named by KELRA_CONFIG (keys `gpu`,
// `efficiency`, `tbb`); the environment variables KELRA_GPU, KELRA_EFFICIENCY and KELRA_TBB win
// over it. An empty variable counts as unset. File and environment are read once, at the first
// query of the process.
//
// `gpu` is true or false, in both places also written 1 or 0; the other two are decimal integers of
// 32 bits. A file or value that cannot be read is reported once on standard error, with what was
// found and what was expected, and leaves its setting's default.
#pragma once

#include "KELRA/KelBase.h"

#if defined(KelConfig_EXPORTS)
#define KELCONFIG_API KELRA_EXPORT
#else
#define KELCONFIG_API KELRA_IMPORT
#endif

namespace KELRA {

// The one status of this library besides 0.
inline constexpr KelLong KEL_CONFIG_ERR_OUTPUT = 14000001;  // the output pointer is null

// Each writes the setting and returns 0, or returns KEL_CONFIG_ERR_OUTPUT. They throw nothing and
// may be called from any thread.
KELCONFIG_API KelLong KelGetStaticGPU(bool* value);        // default false
KELCONFIG_API KelLong KelGetStaticEfficiency(int* value);  // default 0
KELCONFIG_API KelLong KelGetStaticTBB(int* value);         // default 0

}  // namespace KELRA
