#include "recorded_log.h"

#include <atomic>
#include <mutex>
#include <ostream>
#include <utility>

#include "KELRA/KelLog.h"

namespace kelra_test {
namespace {

std::atomic<bool> g_recording{false};
std::atomic<int> g_open{0};
std::atomic<KELRA::KelLong> g_status{0};
std::mutex g_mutex;
std::vector<LogRecord> g_records;

std::string Escaped(const std::string& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F) {
      text += c;
    } else {
      text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return text;
}

}  // namespace

void PrintTo(const LogRecord& record, std::ostream* stream) {
  *stream << record.module << ' ' << record.function << ':' << record.line << " \""
          << Escaped(record.message) << '"';
}

LogRecord StartRecord(const std::string& function, int line) {
  return {"start", "KelImageOperation", function, line};
}

LogRecord ExitRecord(const std::string& function, int line) {
  const std::string end_in_gbk = {'\xBD', '\xE1', '\xCA', '\xF8'};
  return {"KelImageOperation" + end_in_gbk, "KelImageOperation", function, line};
}

RecordedLog::RecordedLog(KELRA::KelLong status) {
  g_records.clear();
  g_status = status;
  g_recording = true;
}

RecordedLog::~RecordedLog() {
  g_recording = false;
  g_status = 0;
}

std::vector<LogRecord> RecordedLog::Take() { return std::exchange(g_records, {}); }

int OpenLoggers() { return g_open; }

}  // namespace kelra_test

namespace KELRA {

KelFastLoggerPrivate::KelFastLoggerPrivate() {
  kelra_test::g_open.fetch_add(1, std::memory_order_relaxed);
}

KelFastLoggerPrivate::~KelFastLoggerPrivate() {
  kelra_test::g_open.fetch_sub(1, std::memory_order_relaxed);
}

KelLong KelFastLoggerPrivate::Log(const char* message, const char* module, const char* function,
                                  int line) {
  using namespace kelra_test;
  if (g_recording.load(std::memory_order_relaxed)) {
    const std::lock_guard lock(g_mutex);
    g_records.push_back({message, module, function, line});
  }
  return g_status.load(std::memory_order_relaxed);
}

}  // namespace KELRA
