// The status type inside the library: a code that must not be dropped.
#pragma once

#include "KELRA/KelStatus.h"

namespace KELRA {

class [[nodiscard]] Status {
 public:
  constexpr Status(KelLong code) : code_(code) {}
  constexpr operator KelLong() const { return code_; }
  constexpr bool ok() const { return code_ == STATUS_OK; }

 private:
  KelLong code_;
};

}  // namespace KELRA

// Returns from the enclosing function with the status of `expression` unless that is success.
#define KELRA_RETURN_IF_ERROR(expression)                                        \
  do {                                                                           \
    if (const ::KELRA::Status kelra_status = (expression); !kelra_status.ok()) { \
      return kelra_status;                                                       \
    }                                                                            \
  } while (false)
