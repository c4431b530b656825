// Log records of the library family: off unless KELRA_LOG says where they go.
//
// KELRA_LOG is `off` (the default), `stderr` or the path of a file, which is appended to. It is
// read once, when this library is loaded. A file that cannot be opened is reported once on standard
// error, and logging stays off.
//
// A record is one line: time, thread, module, function and source line, message:
//
//   2025-03-01T14:05:09.123456+01:00 [4711] KelImageOperation AddConst:5523 start
//
// It reaches the system in a single write before Log returns: it survives a crash of the process,
// and processes that append to one file do not tear each other's lines.
#pragma once

#include "KELRA/KelBase.h"

#if defined(KelLog_EXPORTS)
#define KELLOG_API KELRA_EXPORT
#else
#define KELLOG_API KELRA_IMPORT
#endif

namespace KELRA {

class KELLOG_API KelFastLoggerPrivate {
 public:
  KelFastLoggerPrivate();
  ~KelFastLoggerPrivate();
  KelFastLoggerPrivate(const KelFastLoggerPrivate&) = delete;
  KelFastLoggerPrivate& operator=(const KelFastLoggerPrivate&) = delete;

  // Writes one record; the bytes of the texts are passed on as they are, in whatever encoding, and
  // a null text as `(null)`. Returns 0, also when logging is off or a record cannot be written;
  // throws nothing. May be called from any thread.
  KelLong Log(const char* message, const char* module, const char* function, int line);
};

}  // namespace KELRA
