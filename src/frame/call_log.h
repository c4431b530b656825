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
};

}  // namespace KELRA
