// Difference.

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/samplewise.h"

namespace KELRA {

KelLong KelImageOperation::Difference(KelImage& first, KelImage& second, KelImage* dst) {
  CallLog log(log_lines::kDifference);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(first));
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(second));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(first));
  KELRA_RETURN_IF_ERROR(CheckSameDepth(first, second));
  KELRA_RETURN_IF_ERROR(CheckSameSize(first, second));
  KELRA_RETURN_IF_ERROR(CheckChannels(first));
  KELRA_RETURN_IF_ERROR(CheckSameChannels(first, second));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));
  CombineImages(first, second, dst, kernels::kAbsoluteDifference);
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
