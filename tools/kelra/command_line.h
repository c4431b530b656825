// From the arguments of the program to a command that can be run.
#pragma once

#include <optional>

#include "command.h"

namespace KELRA::tool {

// Nothing when the user asked for help, the version or the examples, which are printed then. Throws
// UsageError, or std::runtime_error for a file that an option names; their texts begin with the
// command's name.
std::optional<Invocation> ParseCommandLine(int argc, const char* const* argv);

}  // namespace KELRA::tool
