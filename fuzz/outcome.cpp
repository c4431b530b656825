#include "outcome.h"

#include <new>

#include "matrix_comparison.h"

namespace kelra_fuzz {

bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.exception == b.exception && SameMatrix(a.result, b.result);
}

Outcome Run(const Operation& operation, KELRA::KelImageOperation* object, Call* call) {
  Outcome outcome;
  try {
    outcome.status = operation.call(*object, *call);
  } catch (const cv::Exception& error) {
    outcome.exception = error.code == cv::Error::StsNoMem
                            ? kWantOfMemory
                            : "of OpenCV, code " + std::to_string(error.code);
  } catch (const std::bad_alloc&) {
    outcome.exception = kWantOfMemory;
  }
  if (!call->other_result.empty()) {
    outcome.result = call->other_result.clone();
  } else if (call->output != nullptr) {
    outcome.result = call->output->Mat().clone();
  }
  return outcome;
}

}  // namespace kelra_fuzz
