// PixelMaxConst, PixelMinConst, PixelAverageConst, DifferenceConst.

#include "KELRA/KelImageOperation.h"
#include "frame/call_frame.h"
#include "frame/checks.h"
#include "frame/result_matrix.h"
#include "frame/samplewise.h"

namespace KELRA {
namespace {

// All four answer a failed restore with what there is, and success. Only the first two use
// efficiency mode, one of them before it knows whether the region is accepted.

constexpr FramePolicy kPixelMaxConst{
    .lines = log_lines::kPixelMaxConst,
    .bind_buffer = BindBuffer::kBeforeRegionCheck,
    .fallback = Fallback::kMaskPath,
    .after_restore = AfterRestore::kIgnoreStatus,
    .shared_output = SharedOutput::kWrittenInPlace,
};

constexpr FramePolicy kPixelMinConst{
    .lines = log_lines::kPixelMinConst,
    .bind_buffer = BindBuffer::kUnlessWholeImage,
    .fallback = Fallback::kMaskPath,
    .after_restore = AfterRestore::kIgnoreStatus,
    .shared_output = SharedOutput::kWrittenInPlace,
};

constexpr FramePolicy kPixelAverageConst{
    .lines = log_lines::kPixelAverageConst,
    .fallback = Fallback::kMaskPath,
    .after_restore = AfterRestore::kIgnoreStatus,
};

constexpr FramePolicy kDifferenceConst{
    .lines = log_lines::kDifferenceConst,
    .fallback = Fallback::kMaskPath,
    .after_restore = AfterRestore::kIgnoreStatus,
};

Status CheckPixelWork(const KelImage& src, int value) {
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckChannels(src));
  return CheckConstant(src, value, 0);
}

// Maximum and minimum write the constant into an output of the input's size before they compare:
// an output that shares pixels with the input compares the constant with itself there. One of
// another type is left to OpenCV, which refuses it.
void WriteConstantAndCompare(const KelImage& src, KelImage* dst, kernels::Combination operation,
                             int value) {
  cv::Mat& output = dst->Mat();
  const bool has_size = dst->Width() == src.Width() && dst->Height() == src.Height();
  if (has_size && output.type() != src.Mat().type()) {
    const cv::Mat& input = src.Mat();
    output.setTo(cv::Scalar::all(value));
    operation == kernels::kMaximum ? cv::max(output, input, output)
                                   : cv::min(output, input, output);
    return;
  }
  if (has_size && SharesPixels(output, src.Mat())) {
    output.setTo(cv::Scalar::all(value));
  }
  CombineWithConstant(src, dst, operation, value);
}

Status MaximumOrMinimum(const KelImage& src, KelImage* dst, const LogLines& lines,
                        kernels::Combination operation, int value) {
  CallLog log(lines);
  KELRA_RETURN_IF_ERROR(CheckPixelWork(src, value));
  WriteConstantAndCompare(src, dst, operation, value);
  log.Exit();
  return STATUS_OK;
}

Status MeanOrDifference(const FramePolicy& policy, const LogLines& work_lines, KelImage& src,
                        KelROI& roi, KelImage* dst, kernels::Combination operation, int value) {
  CallFrame frame(policy);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  return frame.Run(src, roi, dst, [&](const KelImage& in, KelImage* out) -> Status {
    CallLog log(work_lines);
    KELRA_RETURN_IF_ERROR(CheckPixelWork(in, value));
    CombineWithConstant(in, out, operation, value);
    log.Exit();
    return STATUS_OK;
  });
}

}  // namespace

KelLong KelImageOperation::PixelMaxConst(KelImage& src, KelROI& roi, KelImage* dst, int value) {
  CallFrame frame(kPixelMaxConst, buffer_.get());
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  frame.BindBufferNow(src, dst);
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  return frame.Run(src, roi, dst, [&](const KelImage& in, KelImage* out) {
    return MaximumOrMinimum(in, out, log_lines::kPixelMaxConstWork, kernels::kMaximum, value);
  });
}

KelLong KelImageOperation::PixelMinConst(KelImage& src, KelROI& roi, KelImage* dst, int value) {
  CallFrame frame(kPixelMinConst, buffer_.get());
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  return frame.Run(src, roi, dst, [&](const KelImage& in, KelImage* out) {
    return MaximumOrMinimum(in, out, log_lines::kPixelMinConstWork, kernels::kMinimum, value);
  });
}

KelLong KelImageOperation::PixelAverageConst(KelImage& src, KelROI& roi, KelImage* dst, int value) {
  return MeanOrDifference(kPixelAverageConst, log_lines::kPixelAverageConstWork, src, roi, dst,
                          kernels::kMean, value);
}

KelLong KelImageOperation::DifferenceConst(KelImage& src, KelROI& roi, KelImage* dst, int value) {
  return MeanOrDifference(kDifferenceConst, log_lines::kDifferenceConstWork, src, roi, dst,
                          kernels::kAbsoluteDifference, value);
}

}  // namespace KELRA
