// What every call writes to the log: its name and the fixed line numbers of its start and exit.
//
// Tools that read the records identify call sites by these numbers, so they do not follow the
// source.
#pragma once

namespace KELRA {

struct LogLines {
  const char* function;
  int start;
  int exit;
};

namespace log_lines {

inline constexpr LogLines kConstantArithmetic{"GreyAndOrOperation2_greyValue", 5424, 5513};
inline constexpr LogLines kAddConst{"AddConst", 5523, 5705};
inline constexpr LogLines kSubtractConst{"SubtractConst", 5747, 5873};
inline constexpr LogLines kMultiplyConst{"MultiplyConst", 5916, 6032};
inline constexpr LogLines kDivideConst{"DivideConst", 6080, 6208};

}  // namespace log_lines
}  // namespace KELRA
