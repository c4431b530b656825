// Sqrt.

#include "KELRA/KelImageOperation.h"
#include "frame/call_frame.h"
#include "frame/checks.h"
#include "frame/samplewise.h"

namespace KELRA {
namespace {

constexpr FramePolicy kSqrt{
    .lines = log_lines::kSqrt,
    .after_restore = AfterRestore::kAssignAndLogAlways,
};

}  // namespace

KelLong KelImageOperation::Sqrt(KelImage& src, KelROI& roi, KelImage* dst) {
  CallFrame frame(kSqrt);
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  return frame.Run(src, roi, dst, [](const KelImage& in, KelImage* out) -> Status {
    KELRA_RETURN_IF_ERROR(CheckNotEmpty(in));
    TakeSquareRoot(in, out);
    return STATUS_OK;
  });
}

}  // namespace KELRA
