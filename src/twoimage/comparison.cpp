// Compare, CompareConst.

#include "KELRA/KelImageOperation.h"
#include "frame/call_frame.h"
#include "frame/checks.h"
#include "frame/comparison_row_bodies.h"
#include "frame/result_matrix.h"
#include "twoimage/placed_images.h"

namespace KELRA {
namespace {

using kernels::Relation;

constexpr int kModeCount = 2 * kernels::kRelationCount;

// The failures of the mask path alone are answered by a copy of the input.
constexpr FramePolicy kCompareConst{
    .lines = log_lines::kCompareConst,
    .fallback = Fallback::kMaskPath,
    .after_restore = AfterRestore::kAssignAndLogAlways,
    .reads = Reads::kSameRow,
};

Status CheckMode(int mode, KelLong failure) {
  return mode >= 0 && mode < kModeCount ? STATUS_OK : failure;
}

Status CheckSingleChannel(const KelImage& image) {
  return image.Channels() == 1 ? STATUS_OK : ERR_NOT_SINGLE_CHANNEL;
}

// The first half of the modes marks with 0, the second with 255, at 16 bits too.
struct Comparison {
  Relation relation;
  int mark;

  explicit Comparison(int mode)
      : relation(static_cast<Relation>(mode % kernels::kRelationCount)),
        mark(mode < kernels::kRelationCount ? 0 : 255) {}
};

// The work of both, logged under its own name, behind its checks.
template <class Work>
Status LoggedComparison(const KelImage& image, Status others, Work work) {
  CallLog log(log_lines::kComparison);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(image));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(image));
  KELRA_RETURN_IF_ERROR(others);
  work();
  log.Exit();
  return STATUS_OK;
}

template <class Sample>
using Images = tbbup::parallelOperation_Compare_Invoker<Sample>;
template <class Sample>
using Constant = tbbup::parallelOperation_Compare_greyValue_Invoker<Sample>;

// Images of different sizes are compared where both have pixels, from the first on.
void CompareImages(const cv::Mat& first, const cv::Mat& second, Comparison comparison,
                   KelImage* result) {
  CombinePlaced(first, second, PlaceUpright(first.size(), second.size(), {0, 0}), result,
                [comparison](const cv::Mat& a, const cv::Mat& b, cv::Mat* out) {
                  if (a.depth() == CV_8U) {
                    tbbup::Launch<Images<std::uint8_t>>(out, a, a.rows, b, comparison.relation,
                                                        comparison.mark);
                  } else {
                    tbbup::Launch<Images<std::uint16_t>>(out, a, a.rows, b, comparison.relation,
                                                         comparison.mark);
                  }
                });
}

void CompareWithConstant(const cv::Mat& image, int value, Comparison comparison, KelImage* output) {
  SpareMatrix fresh;
  cv::Mat& result = ResultMatrix(output, image.size(), image.type(), &fresh);
  SpareMatrix copy;
  const cv::Mat& input = InputToReadWhileWriting(result, image, &copy);
  if (input.depth() == CV_8U) {
    tbbup::Launch<Constant<std::uint8_t>>(&result, input, input.rows, comparison.relation, value,
                                          comparison.mark);
  } else {
    tbbup::Launch<Constant<std::uint16_t>>(&result, input, input.rows, comparison.relation, value,
                                           comparison.mark);
  }
  AssignResult(result, output);
}

}  // namespace

KelLong KelImageOperation::Compare(KelImage& image1, KelImage& image2, KelImage* result, int mode) {
  CallLog log(log_lines::kCompare);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(image1));
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(image2));
  KELRA_RETURN_IF_ERROR(CheckMode(mode, ERR_PARAM_1));
  KELRA_RETURN_IF_ERROR(CheckSingleChannel(image1));
  KELRA_RETURN_IF_ERROR(CheckSingleChannel(image2));
  KELRA_RETURN_IF_ERROR(CheckOutput(result));
  return LoggedComparison(image1, CheckSameDepth(image1, image2), [&] {
    CompareImages(image1.Mat(), image2.Mat(), Comparison(mode), result);
  });
}

KelLong KelImageOperation::CompareConst(KelImage& image, KelROI& roi, KelImage* result, int value,
                                        int mode) {
  CallFrame frame(kCompareConst);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(image));
  KELRA_RETURN_IF_ERROR(CheckSingleChannel(image));
  // Other depths have no largest sample to compare with; the work refuses them.
  if (IsSupportedDepth(image.BitDepth())) {
    KELRA_RETURN_IF_ERROR(CheckConstant(image, value, 0));
  }
  KELRA_RETURN_IF_ERROR(CheckMode(mode, ERR_PARAM_2));
  KELRA_RETURN_IF_ERROR(CheckRegionKind(roi));
  return frame.Run(image, roi, result, [&](const KelImage& in, KelImage* out) {
    return LoggedComparison(in, STATUS_OK,
                            [&] { CompareWithConstant(in.Mat(), value, Comparison(mode), out); });
  });
}

}  // namespace KELRA
