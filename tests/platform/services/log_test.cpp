#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "temporary_folder.h"

namespace {

using kelra_test::ChildResult;
using kelra_test::ReadFile;
using kelra_test::RunChild;
using kelra_test::TemporaryFolder;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

TEST(Log, IsOffUnlessAskedFor) {
  for (const std::vector<std::string>& environment :
       {std::vector<std::string>{}, {"KELRA_LOG=off"}, {"KELRA_LOG="}}) {
    const ChildResult got = RunChild({SERVICE_PROBE, "log", "start"}, environment);
    EXPECT_EQ(got.exit_code, 0);
    EXPECT_EQ(got.out + got.err, "");
  }
}

// A bound that sanitizers and busy machines keep; formatting or a system call would break it.
TEST(Log, SwitchedOffRecordsCostNanoseconds) {
  const ChildResult got = RunChild({SERVICE_PROBE, "log-time"}, {});
  EXPECT_LT(std::stod(got.out), 500.0);
}

TEST(Log, RecordHasTimeThreadModuleFunctionLineAndMessage) {
  const ChildResult got =
      RunChild({SERVICE_PROBE, "log", "start", "a {} %s"}, {"KELRA_LOG=stderr"});
  EXPECT_EQ(got.exit_code, 0);
  EXPECT_EQ(got.out, "");
  const std::vector<std::string> lines = Lines(got.err);
  ASSERT_EQ(lines.size(), 2U);
  const std::string day = "[0-9]{4}-[0-9]{2}-[0-9]{2}";
  const std::string time = "[0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{6}[+-][0-9]{2}:[0-9]{2}";
  const std::string head = day + "T" + time + " \\[[0-9]+\\] Module Function:";
  EXPECT_THAT(lines[0], testing::MatchesRegex(head + "100 start"));
  EXPECT_THAT(lines[1], testing::MatchesRegex(head + "101 a [{][}] %s"));
}

TEST(Log, PassesBytesOfAnyEncodingUnchanged) {
  const TemporaryFolder folder;
  const std::string message = "KelImageOperation\xBD\xE1\xCA\xF8";
  std::string all;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '\n') {
      all.push_back(static_cast<char>(byte));
    }
  }
  RunChild({SERVICE_PROBE, "log", message, all}, {"KELRA_LOG=" + (folder / "records.log")});
  const std::vector<std::string> lines = Lines(ReadFile(folder / "records.log"));
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines[0].ends_with(" Module Function:100 " + message)) << lines[0];
  EXPECT_TRUE(lines[1].ends_with(" Module Function:101 " + all)) << lines[1];
}

TEST(Log, WritesNullTextsAsSuch) {
  const ChildResult got = RunChild({SERVICE_PROBE, "log", "null"}, {"KELRA_LOG=stderr"});
  EXPECT_EQ(got.exit_code, 0);
  EXPECT_TRUE(got.err.ends_with(" (null) (null):100 (null)\n")) << got.err;
}

TEST(Log, AppendsToTheFile) {
  const TemporaryFolder folder;
  const std::vector<std::string> environment = {"KELRA_LOG=" + (folder / "records.log")};
  RunChild({SERVICE_PROBE, "log", "first"}, environment);
  RunChild({SERVICE_PROBE, "log", "second"}, environment);
  const std::vector<std::string> lines = Lines(ReadFile(folder / "records.log"));
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines[0].ends_with("first"));
  EXPECT_TRUE(lines[1].ends_with("second"));
}

TEST(Log, AFileThatCannotBeOpenedIsReportedOnceAndLeavesLoggingOff) {
  const ChildResult got =
      RunChild({SERVICE_PROBE, "log", "start", "end"}, {"KELRA_LOG=/nonexistent/records.log"});
  EXPECT_EQ(got.exit_code, 0);
  const std::vector<std::string> lines = Lines(got.err);
  ASSERT_EQ(lines.size(), 1U) << got.err;
  EXPECT_NE(lines[0].find("KELRA_LOG"), std::string::npos);
  EXPECT_NE(lines[0].find("/nonexistent/records.log"), std::string::npos);
}

TEST(Log, AFullDeviceIsReportedOnceAndFailsNoCall) {
  const ChildResult got = RunChild({SERVICE_PROBE, "log", "a", "b", "c"}, {"KELRA_LOG=/dev/full"});
  EXPECT_EQ(got.exit_code, 0);
  EXPECT_EQ(Lines(got.err).size(), 1U) << got.err;
}

// Records longer than a stream's buffer and than the atomic write of a pipe.
TEST(Log, ConcurrentThreadsAndProcessesDoNotTearRecords) {
  constexpr int process_count = 3;
  constexpr int thread_count = 4;
  constexpr int record_count = 50;
  constexpr std::size_t message_length = 20000;
  const TemporaryFolder folder;
  const std::string file = folder / "records.log";
  std::vector<std::thread> processes;
  for (int p = 0; p < process_count; ++p) {
    processes.emplace_back([&] {
      const ChildResult got =
          RunChild({SERVICE_PROBE, "log-many", std::to_string(thread_count),
                    std::to_string(record_count), std::to_string(message_length)},
                   {"KELRA_LOG=" + file});
      EXPECT_EQ(got.exit_code, 0) << got.err;
    });
  }
  for (std::thread& process : processes) {
    process.join();
  }

  std::map<char, int> records;
  std::set<std::string> threads;
  for (const std::string& line : Lines(ReadFile(file))) {
    ASSERT_GT(line.size(), message_length);
    const std::string message = line.substr(line.size() - message_length);
    ASSERT_EQ(message, std::string(message_length, message.front()));
    ++records[message.front()];
    threads.insert(line.substr(line.find('['), line.find(']') - line.find('[')));
  }
  EXPECT_EQ(records.size(), static_cast<std::size_t>(thread_count));
  for (const auto& [letter, count] : records) {
    EXPECT_EQ(count, process_count * record_count) << letter;
  }
  EXPECT_EQ(threads.size(), static_cast<std::size_t>(process_count * thread_count));
}

}  // namespace
