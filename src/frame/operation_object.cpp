// The object that callers create: it owns nothing but the matrix of efficiency mode.

#include <memory>
#include <new>

#include "KELRA/KelImageOperation.h"

namespace KELRA {

KelImageOperation::KelImageOperation() {
  try {
    buffer_ = std::make_shared<cv::Mat>();
  } catch (const std::bad_alloc&) {
    // Without the matrix the object works as if efficiency mode were off.
  }
}

KelImageOperation::~KelImageOperation() = default;
KelImageOperation::KelImageOperation(const KelImageOperation& other) = default;
KelImageOperation& KelImageOperation::operator=(const KelImageOperation& other) = default;

}  // namespace KELRA
