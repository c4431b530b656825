// The log records that the library wrote; stands in for the logging library.
#pragma once

#include <string>
#include <vector>

#include "KELRA/KelBase.h"

namespace kelra_test {

struct LogRecord {
  std::string message;
  std::string module;
  std::string function;
  int line;

  bool operator==(const LogRecord&) const = default;
};

// Shown by GoogleTest when records differ.
void PrintTo(const LogRecord& record, std::ostream* stream);

// The two records of every call, with the exit message spelt out byte by byte.
LogRecord StartRecord(const std::string& function, int line);
LogRecord ExitRecord(const std::string& function, int line);

// Records while it lives. Without one, records are dropped without any synchronisation, so that the
// log hides no race between threads.
class RecordedLog {
 public:
  // `status` is what the logging library answers every record with.
  explicit RecordedLog(KELRA::KelLong status = 0);
  ~RecordedLog();
  RecordedLog(const RecordedLog&) = delete;
  RecordedLog& operator=(const RecordedLog&) = delete;

  // What has been written since the last call.
  std::vector<LogRecord> Take();
};

// Loggers that exist now.
int OpenLoggers();

}  // namespace kelra_test
