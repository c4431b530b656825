// The only global state: read or constructed when the library is loaded, only read afterwards.
#pragma once

#include "KELRA/KelBase.h"
#include "KELRA/KelROIDataConvert.h"

namespace KELRA {

struct Settings {
  bool gpu = false;    // consulted by no operation
  int efficiency = 0;  // not 0: results go into the object's own matrix
  int parallel = 0;    // row grain of the parallel loops, see row_engine.h
  // What the queries returned. A failed query leaves the default above.
  KelLong gpu_status = 0;
  KelLong efficiency_status = 0;
  KelLong parallel_status = 0;
};

const Settings& LoadedSettings();

// The converter that cuts out, restores and masks the regions of every call.
KelROIDataConvert& RegionConverter();

// Reads the settings from the configuration library. Runs once when the library is loaded; must not
// run beside any call.
void LoadSettings();

}  // namespace KELRA
