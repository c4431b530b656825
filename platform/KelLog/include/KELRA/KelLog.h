// Log records of the library family: off unless KELRA_LOG says where they go.
//
// KELRA_LOG is `off` (the default), `stderr` or the path of a file, which is appended to.
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

  // Writes one record; the bytes of the texts are passed on as they are, in whatever encoding.
  // Returns 0, also when logging is off.
  KelLong Log(const char* message, const char* module, const char* function, int line);
};

}  // namespace KELRA
