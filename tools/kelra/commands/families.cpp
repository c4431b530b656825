#include "commands/families.h"

namespace KELRA::tool {

const std::vector<Family>& Families() {
  static const std::vector<Family> families = {ConstantArithmetic(), Pasting(), Geometry()};
  return families;
}

}  // namespace KELRA::tool
