// Statistics with a constant, of two images and over arrays of images.

#include <cstdlib>
#include <vector>

#include "array_statistics.h"
#include "call_checker.h"
#include "models.h"
#include "sample_operations_model.h"

namespace {

using namespace kelra_fuzz;
using KELRA::KelImageOperation;
using KELRA::KelLong;

template <auto kMethod>
KelLong CallWithValue(KelImageOperation& object, Call& c) {
  return (object.*kMethod)(*c.first, c.roi, c.output, c.value);
}

template <auto kMethod>
KelLong CallOnArray(KelImageOperation& object, Call& c) {
  return (object.*kMethod)(c.images, c.output);
}

KelLong CallAverage(KelImageOperation& object, Call& c) {
  return object.PixelAverage(c.images, c.output, c.mode);
}

KelLong CallDifference(KelImageOperation& object, Call& c) {
  return object.Difference(*c.first, *c.second, c.output);
}

template <int (*kOperation)(int sample, int value)>
cv::Mat WithConstant(const Call& c) {
  return InRegion(c, [&](const cv::Mat& image) {
    return kelra_reference::OfEverySample(image,
                                          [&](int sample) { return kOperation(sample, c.value); });
  });
}

int Larger(int a, int b) { return a > b ? a : b; }
int Smaller(int a, int b) { return a < b ? a : b; }
int Distance(int a, int b) { return std::abs(a - b); }

std::vector<cv::Mat> MatricesOf(const KELRA::KelImageArray& images) {
  std::vector<cv::Mat> matrices;
  for (int i = 0; i < images.Length(); ++i) {
    matrices.push_back(images[i].Mat());
  }
  return matrices;
}

cv::Mat Maximum(const Call& c) { return kelra_reference::Maximum(MatricesOf(c.images)); }
cv::Mat Minimum(const Call& c) { return kelra_reference::Minimum(MatricesOf(c.images)); }

cv::Mat Average(const Call& c) {
  const std::vector<cv::Mat> images = MatricesOf(c.images);
  const bool drop_smallest = c.mode == 1 || c.mode == 3;
  const bool drop_largest = c.mode == 2 || c.mode == 3;
  return kelra_reference::Rounded(kelra_reference::Mean(images, drop_smallest, drop_largest),
                                  images[0].depth());
}

template <class Sample>
cv::Mat DifferenceAs(const std::vector<cv::Mat>& images) {
  return kelra_reference::ReducedAs<Sample, Sample>(
      images, images[0].type(), [](const auto& samples, int, int) {
        return static_cast<Sample>(Distance(samples[0], samples[1]));
      });
}

cv::Mat Difference(const Call& c) {
  const std::vector<cv::Mat> images = {c.first->Mat(), c.second->Mat()};
  return images[0].depth() == CV_8U ? DifferenceAs<std::uint8_t>(images)
                                    : DifferenceAs<std::uint16_t>(images);
}

bool UnderRunsIfRefused(const Call& call, KelLong status) {
  return IsUnderRuns(call) && (IsRegionFailure(status) || status == KELRA::ERR_CHANNEL_COUNT ||
                               status == KELRA::ERR_PARAM_1);
}

using Object = KelImageOperation;

constexpr Operation kOperations[] = {
    {"PixelMaxConst", CallWithValue<&Object::PixelMaxConst>, WithConstant<Larger>,
     kBindsBuffer | kWritesConstantFirst | kRefusedByOpenCv, UnderRunsIfRefused},
    {"PixelMinConst", CallWithValue<&Object::PixelMinConst>, WithConstant<Smaller>,
     kBindsBuffer | kWritesConstantFirst | kRefusedByOpenCv, UnderRunsIfRefused},
    {"PixelAverageConst", CallWithValue<&Object::PixelAverageConst>,
     WithConstant<kelra_reference::NearestMean>, 0, UnderRunsIfRefused},
    {"DifferenceConst", CallWithValue<&Object::DifferenceConst>, WithConstant<Distance>, 0,
     UnderRunsIfRefused},
    {"Difference", CallDifference, Difference},
    {"PixelMax", CallOnArray<&Object::PixelMax>, Maximum, kStartsFromBuffer | kRefusedByOpenCv},
    {"PixelMin", CallOnArray<&Object::PixelMin>, Minimum},
    {"PixelAverage", CallAverage, Average, kStartsFromBuffer},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CheckCalls(kOperations, data, size);
  return 0;
}
