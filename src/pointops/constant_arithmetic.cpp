// AddConst, SubtractConst, MultiplyConst, DivideConst.

#include "KELRA/KelImageOperation.h"
#include "frame/call_frame.h"
#include "frame/checks.h"
#include "frame/result_matrix.h"
#include "frame/row_bodies.h"

namespace KELRA {
namespace {

using kernels::Arithmetic;

// Where the four differ in their paths and fallbacks, they do so on purpose: callers rely on it.

constexpr FramePolicy kAddConst{
    .lines = log_lines::kAddConst,
    .bind_buffer = BindBuffer::kUnlessWholeImage,
    .fallback = Fallback::kNever,
};

constexpr FramePolicy kSubtractConst{
    .lines = log_lines::kSubtractConst,
    .bind_buffer = BindBuffer::kUnlessWholeImage,
    .fallback = Fallback::kMaskPath | Fallback::kExtraction,
    .after_restore = AfterRestore::kOnlyOnSuccess,
};

constexpr FramePolicy kMultiplyConst{
    .lines = log_lines::kMultiplyConst,
    .bind_buffer = BindBuffer::kAlways,
    .after_restore = AfterRestore::kAssignAndLogAlways,
};

constexpr FramePolicy kDivideConst{
    .lines = log_lines::kDivideConst,
    .bind_buffer = BindBuffer::kAlways,
};

template <class Sample>
void LaunchArithmetic(const cv::Mat& input, cv::Mat* result, Arithmetic code, int value,
                      float scale, float offset) {
  if (code == kernels::kDivide) {
    tbbup::Launch<tbbup::PlainConstant<Sample>>(result, input, input.rows, value, scale, offset);
  } else if (input.channels() == 1) {
    tbbup::Launch<tbbup::BlockwiseConstant<Sample, 1>>(result, input, input.rows, code, value,
                                                       scale, offset);
  } else {
    tbbup::Launch<tbbup::BlockwiseConstant<Sample, 3>>(result, input, input.rows, code, value,
                                                       scale, offset);
  }
}

// The pixel work of all four, logged under its own name.
Status ConstantArithmetic(const KelImage& src, KelImage* dst, Arithmetic code, int value,
                          float scale, float offset) {
  CallLog log(log_lines::kConstantArithmetic);
  const cv::Mat& image = src.Mat();
  KELRA_RETURN_IF_ERROR(CheckBitDepth(image));
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(image));
  KELRA_RETURN_IF_ERROR(CheckChannels(image));

  ComputePixelwise(image, dst, [&](const cv::Mat& input, cv::Mat& result) {
    if (input.depth() == CV_8U) {
      LaunchArithmetic<std::uint8_t>(input, &result, code, value, scale, offset);
    } else {
      LaunchArithmetic<std::uint16_t>(input, &result, code, value, scale, offset);
    }
  });
  log.Exit();
  return STATUS_OK;
}

}  // namespace

KelLong KelImageOperation::AddConst(KelImage& src, KelROI& roi, KelImage* dst, int value,
                                    float scale, float offset) {
  CallFrame frame(kAddConst, buffer_.get());
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckConstant(src, value, 0));
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  return frame.Run(src, roi, dst, [&](const KelImage& in, KelImage* out) {
    return ConstantArithmetic(in, out, kernels::kAdd, value, scale, offset);
  });
}

KelLong KelImageOperation::SubtractConst(KelImage& src, KelROI& roi, KelImage* dst, int value,
                                         float scale, float offset) {
  CallFrame frame(kSubtractConst, buffer_.get());
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckConstant(src, value, 0));
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  return frame.Run(src, roi, dst, [&](const KelImage& in, KelImage* out) {
    return ConstantArithmetic(in, out, kernels::kSubtract, value, scale, offset);
  });
}

KelLong KelImageOperation::MultiplyConst(KelImage& src, KelROI& roi, KelImage* dst, int value,
                                         float scale, float offset) {
  CallFrame frame(kMultiplyConst, buffer_.get());
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckConstant(src, value, 0));
  return frame.Run(src, roi, dst, [&](const KelImage& in, KelImage* out) {
    return ConstantArithmetic(in, out, kernels::kMultiply, value, scale, offset);
  });
}

KelLong KelImageOperation::DivideConst(KelImage& src, KelROI& roi, KelImage* dst, int value,
                                       float scale, float offset) {
  CallFrame frame(kDivideConst, buffer_.get());
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckConstant(src, value, 1));
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  return frame.Run(src, roi, dst, [&](const KelImage& in, KelImage* out) {
    return ConstantArithmetic(in, out, kernels::kDivide, value, scale, offset);
  });
}

}  // namespace KELRA
