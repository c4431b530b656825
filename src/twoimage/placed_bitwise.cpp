// BitAnd, BitOr, BitXor.

#include <exception>
#include <opencv2/core.hpp>
#include <optional>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/function_ref.h"
#include "frame/samplewise.h"
#include "twoimage/placed_images.h"

namespace KELRA {
namespace {

struct Bitwise {
  LogLines lines;
  kernels::Combination combination;
  // What leaves the other operand as it is; it surrounds the turned image.
  bool neutral_is_all_ones;

  double Neutral(int depth) const { return neutral_is_all_ones ? LargestSample(depth) : 0; }
};

constexpr Bitwise kBitAnd{log_lines::kBitAnd, kernels::kBitAnd, true};
constexpr Bitwise kBitOr{log_lines::kBitOr, kernels::kBitOr, false};
constexpr Bitwise kBitXor{log_lines::kBitXor, kernels::kBitXor, false};

// Errors of OpenCV, and want of memory, become the given status.
Status Guarded(KelLong failure, FunctionRef<void()> call) {
  try {
    call();
  } catch (const std::exception&) {
    return failure;
  }
  return STATUS_OK;
}

KelLong PlacedBitwise(const Bitwise& operation, KelImage& image1, KelImage& image2,
                      KelImage* result, const KelPoint& position, double angle) {
  CallLog log(operation.lines);
  cv::Mat& first = image1.Mat();
  cv::Mat& second = image2.Mat();
  KELRA_RETURN_IF_ERROR(CheckBitDepth(first));
  KELRA_RETURN_IF_ERROR(CheckSameDepth(first, second));
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(first));
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(second));
  PromoteToColor(first, second);
  KELRA_RETURN_IF_ERROR(CheckChannels(first));
  KELRA_RETURN_IF_ERROR(CheckChannels(second));
  KELRA_RETURN_IF_ERROR(CheckPosition(first, position));
  KELRA_RETURN_IF_ERROR(CheckAngle(angle));
  KELRA_RETURN_IF_ERROR(CheckOutput(result));

  const kernels::Combination combination = operation.combination;
  if (angle == 0) {
    return Guarded(ERR_BITWISE_EXCEPTION, [&] {
      CombinePlaced(first, second, PlaceUpright(first.size(), second.size(), position), result,
                    [&](const cv::Mat& a, const cv::Mat& b, cv::Mat* out) {
                      CombineMatrices(a, b, out, combination);
                    });
    });
  }
  const Turn turn = TurnOf(second.size(), angle);
  const Placement placement =
      PlaceTurned(first.size(), turn.size, Footprint(second.size(), position, angle));
  std::optional<TurnedStrips> turned;
  KELRA_RETURN_IF_ERROR(Guarded(ERR_WARP_EXCEPTION, [&] {
    turned.emplace(second, turn, operation.Neutral(first.depth()), placement.OnSecond());
  }));
  return Guarded(ERR_BITWISE_EXCEPTION, [&] {
    CombineTurned(first, &*turned, placement.on_first, false, result,
                  [&](const cv::Mat& a, cv::Mat& b, const cv::Mat&, cv::Mat* out) {
                    CombineMatrices(a, b, out, combination);
                  });
  });
}

}  // namespace

KelLong KelImageOperation::BitAnd(KelImage& image1, KelImage& image2, KelImage* result,
                                  KelPoint& position, double angle) {
  return PlacedBitwise(kBitAnd, image1, image2, result, position, angle);
}

KelLong KelImageOperation::BitOr(KelImage& image1, KelImage& image2, KelImage* result,
                                 KelPoint& position, double angle) {
  return PlacedBitwise(kBitOr, image1, image2, result, position, angle);
}

KelLong KelImageOperation::BitXor(KelImage& image1, KelImage& image2, KelImage* result,
                                  KelPoint& position, double angle) {
  return PlacedBitwise(kBitXor, image1, image2, result, position, angle);
}

}  // namespace KELRA
