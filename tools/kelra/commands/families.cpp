#include "commands/families.h"

namespace KELRA::tool {

const std::vector<Family>& Families() {
  static const std::vector<Family> families = {ConstantArithmetic(), TwoImages(), Geometry(),
                                               Pasting()};
  return families;
}

}  // namespace KELRA::tool
