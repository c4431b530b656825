// Runs a command over its files.
#pragma once

#include <stdexcept>
#include <string>

#include "command.h"
#include "console.h"

namespace KELRA::tool {

// The command line asks for something that cannot be meant.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// "IN OUT | IN... FOLDER"
std::string FilesText(Form form);

// Reads the inputs, runs the command and writes the results, several files in parallel. A file that
// fails is told on the console and does not stop the others. Returns whether all succeeded; throws
// UsageError before anything is read or written.
bool RunCommand(const Invocation& invocation, Console& console);

}  // namespace KELRA::tool
