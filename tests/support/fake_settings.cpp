#include "fake_settings.h"

#include "KELRA/KelConfig.h"
#include "frame/load_time_state.h"

namespace kelra_test {
namespace {

constinit FakeSettings g_settings;

// The first queries come while globals are still being constructed.
std::vector<std::string>& Queries() {
  static std::vector<std::string> queries;
  return queries;
}

template <class T>
KELRA::KelLong Answer(const char* query, KELRA::KelLong status, T value, T* output) {
  Queries().emplace_back(query);
  if (status == 0) {
    *output = value;
  }
  return status;
}

}  // namespace

ScopedSettings::ScopedSettings(const FakeSettings& settings) {
  g_settings = settings;
  KELRA::LoadSettings();
}

ScopedSettings::~ScopedSettings() {
  g_settings = {};
  KELRA::LoadSettings();
}

std::vector<int> ParallelSettingsFor(int rows) {
  return {-2147483647 - 1, -1, 0, 1, 2, 3, rows - 1, rows, rows + 1, rows + 5, 1000000, 2147483647};
}

const std::vector<std::string>& SettingQueries() { return Queries(); }

}  // namespace kelra_test

namespace KELRA {

using namespace kelra_test;

KelLong KelGetStaticGPU(bool* value) {
  return Answer("KelGetStaticGPU", g_settings.gpu_status, g_settings.gpu, value);
}

KelLong KelGetStaticEfficiency(int* value) {
  return Answer("KelGetStaticEfficiency", g_settings.efficiency_status, g_settings.efficiency,
                value);
}

KelLong KelGetStaticTBB(int* value) {
  return Answer("KelGetStaticTBB", g_settings.parallel_status, g_settings.parallel, value);
}

}  // namespace KELRA
