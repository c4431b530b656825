#include "commands/families.h"

namespace KELRA::tool {

const std::vector<Family>& Families() {
  static const std::vector<Family> families = {ConstantArithmetic(), TwoImages(), Statistics(),
                                               Geometry(),           Pasting(),   Creation(),
                                               PointOperations(),    Access()};
  return families;
}

}  // namespace KELRA::tool
