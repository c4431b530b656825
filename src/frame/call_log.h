// The log records of one call.
#pragma once

#include "KELRA/KelLog.h"
#include "frame/log_lines.h"

namespace KELRA {

// Logs the start when constructed, and the exit when told: failing calls end without one.
class CallLog {
 public:
  explicit CallLog(const LogLines& lines);
  CallLog(const CallLog&) = delete;
  CallLog& operator=(const CallLog&) = delete;

  void Exit();

 private:
  KelFastLoggerPrivate logger_;
  const LogLines& lines_;
  bool paused_;
};

// While one exists, its thread's calls log nothing: the log has told of work that is repeated.
class LogPause {
 public:
  LogPause();
  ~LogPause();
  LogPause(const LogPause&) = delete;
  LogPause& operator=(const LogPause&) = delete;
};

}  // namespace KELRA
