#include "command.h"

#include "image_files.h"

namespace KELRA::tool {

Expectation Always(std::string text) {
  return [text = std::move(text)](const std::vector<KelImage>&) { return text; };
}

Expectation SampleRange(int lowest) {
  return [lowest](const std::vector<KelImage>& inputs) {
    const KelImageType depth = inputs.front().BitDepth();
    const int largest = depth == KEL_8U ? 255 : 65535;
    return std::to_string(lowest) + " to " + std::to_string(largest) + " for " +
           (depth == KEL_8U ? "an " : "a ") + DepthText(depth) + " image";
  };
}

}  // namespace KELRA::tool
