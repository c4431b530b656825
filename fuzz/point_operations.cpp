// Arithmetic, roots and bits with a constant.

#include "arithmetic.h"
#include "call_checker.h"
#include "models.h"
#include "sample_operations_model.h"

namespace {

using namespace kelra_fuzz;
using KELRA::KelImageOperation;
using KELRA::KelLong;

template <auto kMethod>
KelLong CallArithmetic(KelImageOperation& object, Call& c) {
  return (object.*kMethod)(*c.first, c.roi, c.output, c.value, c.scale, c.offset);
}

template <auto kMethod>
KelLong CallWithValue(KelImageOperation& object, Call& c) {
  return (object.*kMethod)(*c.first, c.roi, c.output, c.value);
}

template <auto kMethod>
KelLong CallOnImage(KelImageOperation& object, Call& c) {
  return (object.*kMethod)(*c.first, c.roi, c.output);
}

template <kelra_reference::Operation kOperation>
cv::Mat Arithmetic(const Call& c) {
  return InRegion(c, [&](const cv::Mat& image) {
    return kelra_reference::ArithmeticWithConstant(kOperation, image, c.value, c.scale, c.offset);
  });
}

template <int (*kOperation)(int sample, int value)>
cv::Mat OfEverySample(const Call& c) {
  return InRegion(c, [&](const cv::Mat& image) {
    return kelra_reference::OfEverySample(image,
                                          [&](int sample) { return kOperation(sample, c.value); });
  });
}

cv::Mat Not(const Call& c) {
  return InRegion(c, [](const cv::Mat& image) {
    const int largest = image.depth() == CV_8U ? 255 : 65535;
    return kelra_reference::OfEverySample(image, [&](int sample) { return largest - sample; });
  });
}

int Root(int sample, int) { return kelra_reference::NearestRoot(sample); }
int And(int sample, int value) { return sample & value; }
int Or(int sample, int value) { return sample | value; }
int Xor(int sample, int value) { return sample ^ value; }

bool UnlessThePartFails(const Call& call, KelLong status) {
  return !IsOnWholeImage(call) &&
         (IsRegionFailure(status) || (IsUnderRuns(call) && status == KELRA::ERR_CHANNEL_COUNT));
}

bool UnlessOnWholeImage(const Call& call, KelLong status) {
  return !IsOnWholeImage(call) && (IsRegionFailure(status) || status == KELRA::ERR_CHANNEL_COUNT);
}

bool UnlessOnWholeImageOrRefused(const Call& call, KelLong status) {
  return !IsOnWholeImage(call) && (IsRegionFailure(status) || status == KELRA::ERR_IMAGE_EMPTY ||
                                   status == KELRA::ERR_PARAM_1);
}

using Object = KelImageOperation;

constexpr Operation kOperations[] = {
    {"AddConst", CallArithmetic<&Object::AddConst>, Arithmetic<kelra_reference::kAdd>,
     kBindsBuffer | kKeepsUnmaskedResult},
    {"SubtractConst", CallArithmetic<&Object::SubtractConst>,
     Arithmetic<kelra_reference::kSubtract>, kBindsBuffer, UnlessThePartFails},
    {"MultiplyConst", CallArithmetic<&Object::MultiplyConst>,
     Arithmetic<kelra_reference::kMultiply>, kBindsBuffer, UnlessOnWholeImage},
    {"DivideConst", CallArithmetic<&Object::DivideConst>, Arithmetic<kelra_reference::kDivide>,
     kBindsBuffer, UnlessOnWholeImage},
    {"Sqrt", CallOnImage<&Object::Sqrt>, OfEverySample<Root>, 0, UnlessOnWholeImageOrRefused},
    {"BitNot", CallOnImage<&Object::BitNot>, Not, 0, UnlessOnWholeImageOrRefused},
    {"BitAndConst", CallWithValue<&Object::BitAndConst>, OfEverySample<And>, 0,
     UnlessOnWholeImageOrRefused},
    {"BitOrConst", CallWithValue<&Object::BitOrConst>, OfEverySample<Or>, 0,
     UnlessOnWholeImageOrRefused},
    {"BitXorConst", CallWithValue<&Object::BitXorConst>, OfEverySample<Xor>, 0,
     UnlessOnWholeImageOrRefused},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CheckCalls(kOperations, data, size);
  return 0;
}
