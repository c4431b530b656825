// Runs programs and catches what they print.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kelra_test {

struct ChildResult {
  int exit_code = -1;  // -1 when the program was ended by a signal
  int signal = 0;      // the one that ended it
  std::string out;
  std::string err;
};

// Runs `command` (program path, then arguments) in `folder` (empty: the current one). The child
// gets this process's environment without the family's variables (KELRA_...), and with those of
// `environment`, entries NAME=value, in place of its own. While it runs, `meanwhile` is called with
// its process number.
ChildResult RunChild(const std::vector<std::string>& command,
                     const std::vector<std::string>& environment = {},
                     const std::string& folder = {},
                     const std::function<void(int child)>& meanwhile = {});

// The same with a terminal as standard error; `err` is what the terminal received.
ChildResult RunChildOnTerminal(const std::vector<std::string>& command,
                               const std::vector<std::string>& environment = {},
                               const std::string& folder = {});

}  // namespace kelra_test
