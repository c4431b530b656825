#include "frame/call_frame.h"

#include "frame/load_time_state.h"
#include "frame/result_matrix.h"

namespace KELRA {
namespace {

// All 255, one 8-bit channel. Logged like every constant image that is made.
cv::Mat ConstantImage(cv::Size size) {
  CallLog log(log_lines::kCreateConst);
  cv::Mat image(size, CV_8UC1, cv::Scalar(255));
  log.Exit();
  return image;
}

// The image that the mask is made from. The converter takes its inputs by mutable reference.
cv::Mat TemplateOf(const KelImage& src, MaskTemplate kind) {
  return kind == MaskTemplate::kInput ? src.Mat() : ConstantImage(src.Mat().size());
}

}  // namespace

CallFrame::CallFrame(const FramePolicy& policy, cv::Mat* buffer)
    : policy_(policy), buffer_(buffer), log_(policy.lines) {}

void CallFrame::KeepInput(KelImage& src, KelImage* dst) {
  if (input_ != nullptr) {
    return;
  }
  input_ = &src;
  if (dst == &src) {
    header_ = src;
    input_ = &*header_;
  }
}

void CallFrame::BindBufferNow(KelImage& src, KelImage* dst) {
  if (dst == nullptr) {
    return;
  }
  KeepInput(src, dst);
  if (buffer_ != nullptr && LoadedSettings().efficiency != 0) {
    bound_.Bind(*buffer_, *input_, dst);
  }
}

Status CallFrame::Run(KelImage& src, KelROI& roi, KelImage* dst, Work work) {
  if (dst == nullptr) {
    return ERR_IMAGE_EMPTY;
  }
  KeepInput(src, dst);
  const KelROIType kind = roi.ROIType();
  if (policy_.bind_buffer == BindBuffer::kAlways ||
      (policy_.bind_buffer == BindBuffer::kUnlessWholeImage && kind != KEL_ROI_WHOLE_IMAGE)) {
    BindBufferNow(src, dst);
  }
  switch (kind) {
    case KEL_ROI_WHOLE_IMAGE:
      return RunOnWholeImage(dst, work);
    case KEL_ROI_REGION:
      return RunUnderMask(roi, dst, work);
    default:
      return RunOnPart(roi, dst, work);
  }
}

KelImage& CallFrame::WholeInput(KelImage* dst) {
  const bool output_is_input = header_.has_value();
  return output_is_input && policy_.shared_output == SharedOutput::kWrittenInPlace ? *dst : *input_;
}

Status CallFrame::RunOnWholeImage(KelImage* dst, Work work) {
  const Status status = work(WholeInput(dst), dst);
  if (status.ok()) {
    bound_.MarkOverwritten();
  }
  return status;
}

Status CallFrame::RunUnderMask(KelROI& roi, KelImage* dst, Work work) {
  KelImage& input = WholeInput(dst);
  KelImage separate;
  const bool use_separate =
      policy_.shared_output == SharedOutput::kAsIfSeparate && SharesPixels(input.Mat(), dst->Mat());
  KelImage* result = use_separate ? &separate : dst;
  if (const Status status = work(input, result); !status.ok()) {
    return Fail(Fallback::kMaskedWork, status, dst);
  }
  bound_.MarkOverwritten();
  dst->Mat() = result->Mat();
  cv::Mat mask;
  cv::Mat mask_template = TemplateOf(input, policy_.mask_template);
  if (const Status status = RegionConverter().GenMaskImage(mask_template, roi, &mask, 1, 0);
      !status.ok()) {
    return Fail(Fallback::kMask, status, dst);
  }
  const cv::Mat outside = 255.0 - mask;
  input.Mat().copyTo(dst->Mat(), outside);
  return STATUS_OK;
}

Status CallFrame::RunOnPart(KelROI& roi, KelImage* dst, Work work) {
  cv::Mat cut;
  if (const Status status = RegionConverter().ROIImageExtraction(input_->Mat(), roi, &cut, 1, 0.0);
      !status.ok()) {
    return Fail(Fallback::kExtraction, status, dst);
  }
  const KelImage part(cut);
  KelImage part_result;
  if (const Status status = work(part, &part_result); !status.ok()) {
    return Fail(Fallback::kPartWork, status, dst);
  }
  cv::Mat restored;
  cv::Mat changed_part = part_result.Mat();
  const Status status =
      RegionConverter().ROIImageRestore(input_->Mat(), changed_part, roi, &restored, 1);
  const AfterRestore after = policy_.after_restore;
  if (status.ok() || after != AfterRestore::kOnlyOnSuccess) {
    dst->Mat() = restored;
  }
  if (status.ok() || after == AfterRestore::kAssignAndLogAlways ||
      after == AfterRestore::kIgnoreStatus) {
    log_.Exit();
  }
  if (status.ok() || after == AfterRestore::kIgnoreStatus) {
    return STATUS_OK;
  }
  return Fail(Fallback::kRestore, status, dst);
}

Status CallFrame::Fail(Fallback step, Status status, KelImage* dst) {
  if (Includes(policy_.fallback, step)) {
    *dst = input_->DeepCopy();
  }
  return status;
}

}  // namespace KELRA
