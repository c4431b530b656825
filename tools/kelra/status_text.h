// What a status means to the user of a command.
#pragma once

#include <string>
#include <vector>

#include "command.h"

namespace KELRA::tool {

// What was got and what was expected, for example
// "--value 300: must be 0 to 255 for an 8-bit image (ERR_PARAM_1, 11200001)".
std::string StatusText(KelLong status, const Invocation& invocation,
                       const std::vector<KelImage>& inputs);

}  // namespace KELRA::tool
