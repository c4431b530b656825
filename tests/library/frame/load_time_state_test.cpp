#include "frame/load_time_state.h"

#include <gtest/gtest.h>

#include "fake_settings.h"
#include "scripted_regions.h"

namespace KELRA {
namespace {

using kelra_test::FakeSettings;
using kelra_test::ScopedSettings;
using kelra_test::SettingQueries;

const std::vector<std::string> kInOrder = {"KelGetStaticGPU", "KelGetStaticEfficiency",
                                           "KelGetStaticTBB"};

TEST(LoadTimeState, SettingsAreQueriedInOrderWhenTheLibraryIsLoaded) {
  ASSERT_GE(SettingQueries().size(), 3U);
  EXPECT_EQ(std::vector(SettingQueries().begin(), SettingQueries().begin() + 3), kInOrder);
}

TEST(LoadTimeState, LoadingAgainQueriesInTheSameOrder) {
  const auto before = static_cast<std::ptrdiff_t>(SettingQueries().size());
  LoadSettings();
  EXPECT_EQ(std::vector(SettingQueries().begin() + before, SettingQueries().end()), kInOrder);
}

TEST(LoadTimeState, SettingsAreWhatTheQueriesWrote) {
  const ScopedSettings scoped({.efficiency = -7, .parallel = 12, .gpu = true});
  EXPECT_TRUE(LoadedSettings().gpu);
  EXPECT_EQ(LoadedSettings().efficiency, -7);
  EXPECT_EQ(LoadedSettings().parallel, 12);
  EXPECT_EQ(LoadedSettings().gpu_status, 0);
  EXPECT_EQ(LoadedSettings().efficiency_status, 0);
  EXPECT_EQ(LoadedSettings().parallel_status, 0);
}

TEST(LoadTimeState, AFailedQueryLeavesItsDefaultAndItsStatus) {
  const FakeSettings all_set{.efficiency = 1, .parallel = 5, .gpu = true};
  for (int failing = 0; failing < 3; ++failing) {
    FakeSettings settings = all_set;
    (failing == 0   ? settings.gpu_status
     : failing == 1 ? settings.efficiency_status
                    : settings.parallel_status) = 42;
    const ScopedSettings scoped(settings);
    const Settings& loaded = LoadedSettings();
    EXPECT_EQ(loaded.gpu, failing != 0);
    EXPECT_EQ(loaded.efficiency, failing == 1 ? 0 : 1);
    EXPECT_EQ(loaded.parallel, failing == 2 ? 0 : 5);
    EXPECT_EQ(loaded.gpu_status, failing == 0 ? 42 : 0);
    EXPECT_EQ(loaded.efficiency_status, failing == 1 ? 42 : 0);
    EXPECT_EQ(loaded.parallel_status, failing == 2 ? 42 : 0);
  }
}

TEST(LoadTimeState, OneRegionConverterIsConstructed) {
  EXPECT_EQ(kelra_test::RegionConvertersConstructed(), 1);
  EXPECT_EQ(&RegionConverter(), &RegionConverter());
  EXPECT_EQ(kelra_test::RegionConvertersConstructed(), 1);
}

}  // namespace
}  // namespace KELRA
