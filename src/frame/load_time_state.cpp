#include "frame/load_time_state.h"

#include "KELRA/KelConfig.h"

namespace KELRA {
namespace {

Settings ReadSettings() {
  Settings settings;
  settings.gpu_status = KelGetStaticGPU(&settings.gpu);
  settings.efficiency_status = KelGetStaticEfficiency(&settings.efficiency);
  settings.parallel_status = KelGetStaticTBB(&settings.parallel);
  return settings;
}

// One translation unit holds both, so that their order of construction is fixed.
Settings g_settings = ReadSettings();
KelROIDataConvert g_region_converter;

}  // namespace

const Settings& LoadedSettings() { return g_settings; }

KelROIDataConvert& RegionConverter() { return g_region_converter; }

void LoadSettings() { g_settings = ReadSettings(); }

}  // namespace KELRA
