// BitAndConst, BitOrConst, BitXorConst, BitNot.

#include "KELRA/KelImageOperation.h"
#include "frame/call_frame.h"
#include "frame/checks.h"
#include "frame/samplewise.h"

namespace KELRA {
namespace {

constexpr FramePolicy kBitAndConst{
    .lines = log_lines::kBitAndConst,
    .after_restore = AfterRestore::kAssignAndLogAlways,
};

// OR and XOR make their mask from an image of their own; AND and NOT make it from the input.
constexpr FramePolicy kBitOrConst{
    .lines = log_lines::kBitOrConst,
    .after_restore = AfterRestore::kAssignAndLogAlways,
    .mask_template = MaskTemplate::kConstantImage,
};

constexpr FramePolicy kBitXorConst{
    .lines = log_lines::kBitXorConst,
    .after_restore = AfterRestore::kAssignAndLogAlways,
    .mask_template = MaskTemplate::kConstantImage,
};

constexpr FramePolicy kBitNot{
    .lines = log_lines::kBitNot,
    .after_restore = AfterRestore::kAssignAndLogAlways,
};

Status BitwiseConstant(const FramePolicy& policy, KelImage& src, KelROI& roi, KelImage* dst,
                       kernels::Combination operation, int value) {
  CallFrame frame(policy);
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  return frame.Run(src, roi, dst, [&](const KelImage& in, KelImage* out) -> Status {
    KELRA_RETURN_IF_ERROR(CheckNotEmpty(in));
    KELRA_RETURN_IF_ERROR(CheckConstant(in, value, 0));
    CombineWithConstant(in, out, operation, value);
    return STATUS_OK;
  });
}

}  // namespace

KelLong KelImageOperation::BitAndConst(KelImage& src, KelROI& roi, KelImage* dst, int value) {
  return BitwiseConstant(kBitAndConst, src, roi, dst, kernels::kBitAnd, value);
}

KelLong KelImageOperation::BitOrConst(KelImage& src, KelROI& roi, KelImage* dst, int value) {
  return BitwiseConstant(kBitOrConst, src, roi, dst, kernels::kBitOr, value);
}

KelLong KelImageOperation::BitXorConst(KelImage& src, KelROI& roi, KelImage* dst, int value) {
  return BitwiseConstant(kBitXorConst, src, roi, dst, kernels::kBitXor, value);
}

KelLong KelImageOperation::BitNot(KelImage& src, KelROI& roi, KelImage* dst) {
  return BitwiseConstant(kBitNot, src, roi, dst, kernels::kBitXor, LargestSample(src.BitDepth()));
}

}  // namespace KELRA
