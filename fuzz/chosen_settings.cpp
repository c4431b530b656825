#include "chosen_settings.h"

#include "KELRA/KelConfig.h"
#include "frame/load_time_state.h"

namespace {

constinit int g_efficiency = 0;
constinit int g_parallel = 0;

}  // namespace

namespace kelra_fuzz {

void UseSettings(int efficiency, int parallel) {
  g_efficiency = efficiency;
  g_parallel = parallel;
  KELRA::LoadSettings();
}

}  // namespace kelra_fuzz

namespace KELRA {

KelLong KelGetStaticGPU(bool* value) {
  *value = false;
  return 0;
}

KelLong KelGetStaticEfficiency(int* value) {
  *value = g_efficiency;
  return 0;
}

KelLong KelGetStaticTBB(int* value) {
  *value = g_parallel;
  return 0;
}

}  // namespace KELRA
