#include <KELRA/KelConfig.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "child_process.h"
#include "temporary_folder.h"

namespace {

using kelra_test::ChildResult;
using kelra_test::RunChild;
using kelra_test::TemporaryFolder;
using kelra_test::WriteFile;
using Texts = std::vector<std::string>;

constexpr const char* kDefaults = "false 0 0\n";

ChildResult Query(const Texts& environment) {
  return RunChild({SERVICE_PROBE, "config"}, environment);
}

ChildResult QueryFile(const std::string& toml, Texts environment = {}) {
  const TemporaryFolder folder;
  WriteFile(folder / "settings.toml", toml);
  environment.push_back("KELRA_CONFIG=" + (folder / "settings.toml"));
  return Query(environment);
}

std::size_t Lines(const std::string& text) {
  std::size_t lines = 0;
  for (const char byte : text) {
    lines += byte == '\n' ? 1 : 0;
  }
  return lines;
}

TEST(Config, WithoutFileAndEnvironmentGivesDefaultsSilently) {
  const ChildResult got = Query({});
  EXPECT_EQ(got.exit_code, 0);
  EXPECT_EQ(got.out, kDefaults);
  EXPECT_EQ(got.err, "");
}

struct GoodCase {
  const char* toml;
  Texts environment;
  const char* settings;
};

TEST(Config, ReadsFileAndEnvironment) {
  const std::vector<GoodCase> cases = {
      {"", {}, "false 0 0\n"},
      {"[other]\ngpu = 7\n", {}, "false 0 0\n"},
      {"[image_operation]\ngpu = true\nefficiency = 1\ntbb = -3\n", {}, "true 1 -3\n"},
      {"[image_operation]\ngpu = 1\n", {}, "true 0 0\n"},
      {"[image_operation]\ngpu = 0\n", {}, "false 0 0\n"},
      {"[image_operation]\nefficiency = 2147483647\ntbb = -2147483648\n",
       {},
       "false 2147483647 -2147483648\n"},
      {"", {"KELRA_GPU=true", "KELRA_EFFICIENCY=4", "KELRA_TBB=5"}, "true 4 5\n"},
      {"", {"KELRA_GPU=1", "KELRA_TBB=-2147483648"}, "true 0 -2147483648\n"},
      {"", {"KELRA_GPU=", "KELRA_EFFICIENCY=", "KELRA_TBB="}, "false 0 0\n"},
      {"[image_operation]\ngpu = true\nefficiency = 1\ntbb = 2\n",
       {"KELRA_GPU=false", "KELRA_EFFICIENCY=0"},
       "false 0 2\n"},
      {"[image_operation]\ngpu = true\n", {"KELRA_GPU=0"}, "false 0 0\n"},
  };
  for (const GoodCase& c : cases) {
    SCOPED_TRACE(c.toml);
    const ChildResult got = QueryFile(c.toml, c.environment);
    EXPECT_EQ(got.out, c.settings);
    EXPECT_EQ(got.err, "");
  }
}

struct BadCase {
  const char* toml;
  Texts environment;
  const char* settings;
  Texts told;  // what the one line of standard error contains
};

TEST(Config, ReportsABadValueOnceAndLeavesItsDefault) {
  const char* boolean_expected = "expected true or false, or 1 or 0";
  const char* integer_expected = "expected a decimal integer from -2147483648 to 2147483647";
  const std::vector<BadCase> cases = {
      {"[image_operation]\ngpu = 2\ntbb = 1", {}, "false 0 1\n", {"gpu", "'2'", boolean_expected}},
      {"[image_operation]\ngpu = 'yes'", {}, kDefaults, {"gpu", "yes", boolean_expected}},
      {"[image_operation]\ngpu = 1.0", {}, kDefaults, {"gpu", "'1.0'", boolean_expected}},
      {"[image_operation]\nefficiency = true",
       {},
       kDefaults,
       {"efficiency", "'true'", integer_expected}},
      {"[image_operation]\ntbb = 2147483648",
       {},
       kDefaults,
       {"tbb", "'2147483648'", integer_expected}},
      {"[image_operation]\ntbb = -2147483649", {}, kDefaults, {"tbb", integer_expected}},
      {"[image_operation]\ntbb = {a = 1}", {}, kDefaults, {"tbb", integer_expected}},
      {"image_operation = 3", {}, kDefaults, {"image_operation", "'3'", "a table"}},
      {"[image_operation\ngpu = true", {}, kDefaults, {"is not TOML", "line 1"}},
      {"\xff\xfe", {}, kDefaults, {"is not TOML"}},
      {"", {"KELRA_GPU=TRUE"}, kDefaults, {"KELRA_GPU is 'TRUE'", boolean_expected}},
      {"", {"KELRA_GPU=2"}, kDefaults, {"KELRA_GPU is '2'", boolean_expected}},
      {"", {"KELRA_EFFICIENCY=1.5"}, kDefaults, {"KELRA_EFFICIENCY is '1.5'", integer_expected}},
      {"", {"KELRA_EFFICIENCY= 1"}, kDefaults, {"KELRA_EFFICIENCY is ' 1'", integer_expected}},
      {"", {"KELRA_EFFICIENCY=+1"}, kDefaults, {"KELRA_EFFICIENCY is '+1'", integer_expected}},
      {"", {"KELRA_TBB=0x10"}, kDefaults, {"KELRA_TBB is '0x10'", integer_expected}},
      {"", {"KELRA_TBB=2147483648"}, kDefaults, {"KELRA_TBB is '2147483648'", integer_expected}},
      {"", {"KELRA_TBB=1\n2"}, kDefaults, {"KELRA_TBB is '1?2'", integer_expected}},
      {"[image_operation]\ntbb = 7",
       {"KELRA_TBB=x"},
       kDefaults,
       {"KELRA_TBB is 'x'", integer_expected}},
      {"[image_operation]\ntbb = 'x'",
       {"KELRA_TBB=7"},
       "false 0 7\n",
       {"tbb", "x", integer_expected}},
  };
  for (const BadCase& c : cases) {
    SCOPED_TRACE(std::string(c.toml) + (c.environment.empty() ? "" : c.environment.front()));
    const ChildResult got = QueryFile(c.toml, c.environment);
    EXPECT_EQ(got.out, c.settings);
    EXPECT_EQ(Lines(got.err), 1U) << got.err;
    for (const std::string& part : c.told) {
      EXPECT_NE(got.err.find(part), std::string::npos) << got.err;
    }
  }
}

TEST(Config, ReportsEachOfSeveralBadValues) {
  const ChildResult got =
      QueryFile("[image_operation]\ngpu = 5\nefficiency = 'a'\n", {"KELRA_TBB=b"});
  EXPECT_EQ(got.out, kDefaults);
  EXPECT_EQ(Lines(got.err), 3U) << got.err;
}

TEST(Config, ReportsAFileThatIsNotThere) {
  const ChildResult got = Query({"KELRA_CONFIG=/nonexistent/settings.toml", "KELRA_TBB=2"});
  EXPECT_EQ(got.out, "false 0 2\n");
  EXPECT_EQ(Lines(got.err), 1U) << got.err;
  EXPECT_NE(got.err.find("/nonexistent/settings.toml"), std::string::npos) << got.err;
}

TEST(Config, ReportsAFolderInPlaceOfTheFile) {
  const TemporaryFolder folder;
  const ChildResult got = Query({"KELRA_CONFIG=" + folder.Path().string()});
  EXPECT_EQ(got.out, kDefaults);
  EXPECT_EQ(Lines(got.err), 1U) << got.err;
}

TEST(Config, ConcurrentFirstQueriesAgreeAndReportOnce) {
  const ChildResult got = Query({"KELRA_EFFICIENCY=3", "KELRA_TBB=x"});
  EXPECT_EQ(got.exit_code, 0) << got.err;
  EXPECT_EQ(got.out, "false 3 0\n");
  EXPECT_EQ(Lines(got.err), 1U) << got.err;
}

TEST(Config, NullPointerIsAnErrorOfThisLibrary) {
  EXPECT_EQ(KELRA::KelGetStaticGPU(nullptr), KELRA::KEL_CONFIG_ERR_OUTPUT);
  EXPECT_EQ(KELRA::KelGetStaticEfficiency(nullptr), KELRA::KEL_CONFIG_ERR_OUTPUT);
  EXPECT_EQ(KELRA::KelGetStaticTBB(nullptr), KELRA::KEL_CONFIG_ERR_OUTPUT);
}

}  // namespace
