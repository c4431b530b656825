// Runs programs and catches what they print.
#pragma once

#include <string>
#include <vector>

namespace kelra_test {

struct ChildResult {
  int exit_code = -1;  // -1 when the program was ended by a signal
  std::string out;
  std::string err;
};

// Runs `command` (program path, then arguments) in `folder` (empty: the current one). The child
// gets this process's environment without the family's variables (KELRA_...), and with those of
// `environment`, entries NAME=value, in place of its own.
ChildResult RunChild(const std::vector<std::string>& command,
                     const std::vector<std::string>& environment = {},
                     const std::string& folder = {});

// The same with a terminal as standard error; `err` is what the terminal received.
ChildResult RunChildOnTerminal(const std::vector<std::string>& command,
                               const std::vector<std::string>& environment = {},
                               const std::string& folder = {});

}  // namespace kelra_test
