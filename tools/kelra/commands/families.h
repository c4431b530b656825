// All commands, by family, in the order in which the help lists them.
#pragma once

#include <string>
#include <vector>

#include "command.h"

namespace KELRA::tool {

struct Family {
  std::string title;
  std::vector<Command> commands;
};

const std::vector<Family>& Families();

// Each is defined in the file named after the family.
Family ConstantArithmetic();
Family Geometry();
Family Pasting();
Family TwoImages();
Family PointOperations();
Family Statistics();
Family Creation();
Family Access();

}  // namespace KELRA::tool
