// Settings that a test chooses; stands in for the configuration library.
#pragma once

#include <string>
#include <vector>

#include "KELRA/KelBase.h"

namespace kelra_test {

// What the queries answer. One whose status is not 0 leaves its output alone.
struct FakeSettings {
  int efficiency = 0;
  int parallel = 0;
  bool gpu = false;
  KELRA::KelLong efficiency_status = 0;
  KELRA::KelLong parallel_status = 0;
  KELRA::KelLong gpu_status = 0;
};

// Has the library load these settings, and the defaults again afterwards.
class ScopedSettings {
 public:
  explicit ScopedSettings(const FakeSettings& settings);
  ~ScopedSettings();
  ScopedSettings(const ScopedSettings&) = delete;
  ScopedSettings& operator=(const ScopedSettings&) = delete;
};

// Parallel settings around every boundary of an image of so many rows.
std::vector<int> ParallelSettingsFor(int rows);

// The names of all queries since the process began.
const std::vector<std::string>& SettingQueries();

}  // namespace kelra_test
