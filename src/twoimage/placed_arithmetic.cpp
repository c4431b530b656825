// Add, Subtract, Multiply, Divide.

#include <cmath>
#include <limits>
#include <opencv2/core.hpp>
#include <optional>

#include "KELRA/KelImageOperation.h"
#include "frame/bound_buffer.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/load_time_state.h"
#include "frame/masked_row_bodies.h"
#include "frame/row_bodies.h"
#include "frame/row_engine.h"
#include "twoimage/placed_images.h"

namespace KELRA {
namespace {

using kernels::Arithmetic;
using kernels::Linear;

bool IsIdentity(Linear linear) { return linear.scale == 1.0F && linear.offset == 0.0F; }

bool IsSumOrDifference(Arithmetic code) {
  return code == kernels::kAdd || code == kernels::kSubtract;
}

template <class Sample>
void CombineUpright(Arithmetic code, Linear linear, const cv::Mat& first, const cv::Mat& second,
                    cv::Mat* result) {
  if (code == kernels::kDivide) {
    tbbup::Launch<tbbup::PlainImages<Sample>>(result, first, first.rows, second, linear.scale,
                                              linear.offset);
  } else if (first.channels() == 1) {
    tbbup::Launch<tbbup::BlockwiseImages<Sample, 1>>(result, first, first.rows, second, code,
                                                     linear.scale, linear.offset);
  } else {
    tbbup::Launch<tbbup::BlockwiseImages<Sample, 3>>(result, first, first.rows, second, code,
                                                     linear.scale, linear.offset);
  }
}

void CombineUpright(Arithmetic code, Linear linear, const cv::Mat& first, const cv::Mat& second,
                    cv::Mat* result) {
  if (first.depth() == CV_8U) {
    CombineUpright<std::uint8_t>(code, linear, first, second, result);
  } else {
    CombineUpright<std::uint16_t>(code, linear, first, second, result);
  }
}

// Which scales of a product OpenCV leaves out.
bool CountsAsOne(float scale) {
  return std::abs(scale - 1.0F) <= std::numeric_limits<float>::epsilon();
}

// The saturated sum or difference, or the scaled product or quotient as OpenCV rounds it. Where no
// rounding is involved the row bodies compute the same; OpenCV lets large 16-bit products wrap
// around at the end of a row.
template <class Sample, int Channels>
void CombineUnmasked(Arithmetic code, float scale, const cv::Mat& first, const cv::Mat& turned,
                     cv::Mat* result) {
  if (IsSumOrDifference(code) || (code == kernels::kMultiply && CountsAsOne(scale))) {
    const RowRange all(0, first.rows);
    tbbup::BlockwiseImages<Sample, Channels>(result, first, turned, code, 1.0F, 0.0F)(all);
  } else if (code == kernels::kMultiply) {
    cv::multiply(first, turned, *result, scale);
  } else {
    cv::divide(first, turned, *result, scale);
  }
}

// At 16 bits a product takes nothing behind a mask.
bool NeedsMask(Arithmetic code, Linear linear, int depth) {
  return !IsIdentity(linear) && !(depth == CV_16U && code == kernels::kMultiply);
}

// Without a mask the images are combined, no more. With it, what the turned image covers is scaled
// and offset: sums and differences take both here; products and quotients have been scaled, and
// take the offset, and around the turned image the first image's samples. A 16-bit quotient is
// scaled and offset once more.
template <class Sample, int Channels>
void CombineStripOf(Arithmetic code, Linear linear, const cv::Mat& first, cv::Mat& turned,
                    const cv::Mat& mask, cv::Mat* result) {
  const bool is_sum = IsSumOrDifference(code);
  const bool masked = !mask.empty();
  const bool offset_or_first = masked && !is_sum;
  const bool scale_and_offset = masked && (is_sum || sizeof(Sample) == 2);
  // Where the first image is needed once more, the result, which may be it, has to wait.
  cv::Mat* const combined = offset_or_first ? &turned : result;
  const RowRange all(0, first.rows);
  CombineUnmasked<Sample, Channels>(code, linear.scale, first, turned, combined);
  if (offset_or_first) {
    tbbup::MaskedSumOrSecond<Sample, Channels>(result, turned, first, mask, first.rows, first.cols,
                                               linear.offset)(all);
  }
  if (scale_and_offset) {
    tbbup::MaskedScaleAndOffset<Sample, Channels>(result, *result, mask, first.rows, first.cols,
                                                  linear.scale, linear.offset)(all);
  }
}

auto StripCombinationFor(int type) {
  switch (type) {
    case CV_8UC1:
      return CombineStripOf<std::uint8_t, 1>;
    case CV_8UC3:
      return CombineStripOf<std::uint8_t, 3>;
    case CV_16UC1:
      return CombineStripOf<std::uint16_t, 1>;
    default:
      return CombineStripOf<std::uint16_t, 3>;
  }
}

void PlaceUprightOnto(const cv::Mat& first, const cv::Mat& second, const KelPoint& position,
                      Arithmetic code, Linear linear, KelImage* result) {
  CombinePlaced(first, second, PlaceUpright(first.size(), second.size(), position), result,
                [&](const cv::Mat& a, const cv::Mat& b, cv::Mat* out) {
                  CombineUpright(code, linear, a, b, out);
                });
}

void PlaceTurnedOnto(const cv::Mat& first, const cv::Mat& second, const KelPoint& position,
                     double angle, Arithmetic code, Linear linear, KelImage* result) {
  const Turn turn = TurnOf(second.size(), angle);
  const Placement placement =
      PlaceTurned(first.size(), turn.size, Footprint(second.size(), position, angle));
  // Around the turned image the second operand changes nothing.
  TurnedStrips turned(second, turn, IsSumOrDifference(code) ? 0 : 1, placement.OnSecond());
  const auto combine = StripCombinationFor(first.type());
  CombineTurned(first, &turned, placement.on_first, NeedsMask(code, linear, first.depth()), result,
                [&](const cv::Mat& a, cv::Mat& b, const cv::Mat& mask, cv::Mat* out) {
                  combine(code, linear, a, b, mask, out);
                });
}

// The work of all four, logged under its own name. It ends with a record only when it has turned
// the second image.
Status PlacedArithmetic(cv::Mat& first, cv::Mat& second, KelImage* result, const KelPoint& position,
                        double angle, Arithmetic code, Linear linear) {
  CallLog log(log_lines::kPlacedArithmetic);
  KELRA_RETURN_IF_ERROR(CheckBitDepth(first));
  KELRA_RETURN_IF_ERROR(CheckSameDepth(first, second));
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(first));
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(second));
  KELRA_RETURN_IF_ERROR(CheckChannels(first));
  KELRA_RETURN_IF_ERROR(CheckChannels(second));
  PromoteToColor(first, second);
  KELRA_RETURN_IF_ERROR(CheckPosition(first, position));
  KELRA_RETURN_IF_ERROR(CheckAngle(angle));
  KELRA_RETURN_IF_ERROR(CheckOutput(result));
  if (angle == 0) {
    PlaceUprightOnto(first, second, position, code, linear, result);
  } else {
    PlaceTurnedOnto(first, second, position, angle, code, linear, result);
    log.Exit();
  }
  return STATUS_OK;
}

// The inputs of a call. One that is the output too is kept by a header, as the output's matrix is
// exchanged before the work begins.
class Inputs {
 public:
  Inputs(KelImage& first, KelImage& second) : first_(&first), second_(&second) {}

  void KeepBehind(const KelImage& output) {
    header_ = output;
    first_ = first_ == &output ? &*header_ : first_;
    second_ = second_ == &output ? &*header_ : second_;
  }
  KelImage& First() { return *first_; }
  KelImage& Second() { return *second_; }

 private:
  KelImage* first_;
  KelImage* second_;
  std::optional<KelImage> header_;
};

KelLong RunPlacedArithmetic(const LogLines& lines, Arithmetic code, cv::Mat* buffer,
                            KelImage& image1, KelImage& image2, KelImage* result,
                            const KelPoint& position, double angle, Linear linear) {
  CallLog log(lines);
  Inputs inputs(image1, image2);
  BoundBuffer bound;
  const bool use_buffer = buffer != nullptr && LoadedSettings().efficiency != 0 &&
                          result != nullptr && position.x == 0 && position.y == 0 &&
                          image1.Mat().dims <= 2;
  if (use_buffer) {
    inputs.KeepBehind(*result);
    BoundBuffer::KeepPixels(*buffer, inputs.Second());
    bound.Bind(*buffer, inputs.First(), result);
  }
  // Before the work on purpose: the record tells that the call was prepared.
  log.Exit();
  const Status status = PlacedArithmetic(inputs.First().Mat(), inputs.Second().Mat(), result,
                                         position, angle, code, linear);
  if (use_buffer && status.ok() && result->Mat().data == buffer->data) {
    bound.MarkOverwritten();
  }
  return status;
}

}  // namespace

KelLong KelImageOperation::Add(KelImage& image1, KelImage& image2, KelImage* result,
                               KelPoint& position, double angle, float scale, float offset) {
  return RunPlacedArithmetic(log_lines::kAdd, kernels::kAdd, buffer_.get(), image1, image2, result,
                             position, angle, {scale, offset});
}

KelLong KelImageOperation::Subtract(KelImage& image1, KelImage& image2, KelImage* result,
                                    KelPoint& position, double angle, float scale, float offset) {
  return RunPlacedArithmetic(log_lines::kSubtract, kernels::kSubtract, buffer_.get(), image1,
                             image2, result, position, angle, {scale, offset});
}

KelLong KelImageOperation::Multiply(KelImage& image1, KelImage& image2, KelImage* result,
                                    KelPoint& position, double angle, float scale, float offset) {
  return RunPlacedArithmetic(log_lines::kMultiply, kernels::kMultiply, buffer_.get(), image1,
                             image2, result, position, angle, {scale, offset});
}

KelLong KelImageOperation::Divide(KelImage& image1, KelImage& image2, KelImage* result,
                                  KelPoint& position, double angle, float scale, float offset) {
  return RunPlacedArithmetic(log_lines::kDivide, kernels::kDivide, buffer_.get(), image1, image2,
                             result, position, angle, {scale, offset});
}

}  // namespace KELRA
