// A second image laid onto a first one, and comparisons.

#include "call_checker.h"
#include "comparison.h"
#include "models.h"
#include "placed_images.h"

namespace {

using namespace kelra_fuzz;
using KELRA::KelImageOperation;
using KELRA::KelLong;
using kelra_reference::Combination;

template <auto kMethod>
KelLong CallArithmetic(KelImageOperation& object, Call& c) {
  return (object.*kMethod)(*c.first, *c.second, c.output, c.position, c.angle, c.scale, c.offset);
}

template <auto kMethod>
KelLong CallBitwise(KelImageOperation& object, Call& c) {
  return (object.*kMethod)(*c.first, *c.second, c.output, c.position, c.angle);
}

KelLong CallCompare(KelImageOperation& object, Call& c) {
  return object.Compare(*c.first, *c.second, c.output, c.mode);
}

KelLong CallCompareConst(KelImageOperation& object, Call& c) {
  return object.CompareConst(*c.first, c.roi, c.output, c.value, c.mode);
}

struct Pair {
  cv::Mat first;
  cv::Mat second;
};

// One channel beside three becomes three.
Pair InSameChannels(const Call& c) {
  Pair pair{c.first->Mat(), c.second->Mat()};
  if (pair.first.channels() < pair.second.channels()) {
    pair.first = kelra_reference::InColor(pair.first);
  } else if (pair.second.channels() < pair.first.channels()) {
    pair.second = kelra_reference::InColor(pair.second);
  }
  return pair;
}

cv::Mat Upright(const Call& c, const Pair& pair, const Combination& combine) {
  return kelra_reference::PlacedUpright(pair.first, pair.second, static_cast<int>(c.position.x),
                                        static_cast<int>(c.position.y), combine);
}

template <kelra_reference::Operation kOperation>
cv::Mat Arithmetic(const Call& c) {
  const Pair pair = InSameChannels(c);
  if (c.angle == 0) {
    return Upright(c, pair, [&](const cv::Mat& a, const cv::Mat& b) {
      return kelra_reference::ArithmeticWithImage(kOperation, a, b, c.scale, c.offset);
    });
  }
  const bool is_product =
      kOperation == kelra_reference::kMultiply || kOperation == kelra_reference::kDivide;
  return kelra_reference::PlacedTurned(
      pair.first, pair.second, c.position.x, c.position.y, c.angle, is_product ? 1 : 0,
      [&](const cv::Mat& a, const cv::Mat& b, const cv::Mat& mask) {
        const auto combine = a.depth() == CV_8U ? kelra_reference::TurnedArithmetic<std::uint8_t>
                                                : kelra_reference::TurnedArithmetic<std::uint16_t>;
        return combine(kOperation, a, b, mask, c.scale, c.offset);
      });
}

struct And {
  static constexpr bool kAllOnesAround = true;
  std::uint8_t operator()(std::uint8_t a, std::uint8_t b) const { return a & b; }
};
struct Or {
  static constexpr bool kAllOnesAround = false;
  std::uint8_t operator()(std::uint8_t a, std::uint8_t b) const { return a | b; }
};
struct Xor {
  static constexpr bool kAllOnesAround = false;
  std::uint8_t operator()(std::uint8_t a, std::uint8_t b) const { return a ^ b; }
};

template <class Bits>
cv::Mat OfEveryByte(const cv::Mat& a, const cv::Mat& b) {
  cv::Mat output(a.size(), a.type());
  for (int row = 0; row < a.rows; ++row) {
    for (std::size_t i = 0; i < a.elemSize() * static_cast<std::size_t>(a.cols); ++i) {
      output.ptr(row)[i] = Bits()(a.ptr(row)[i], b.ptr(row)[i]);
    }
  }
  return output;
}

template <class Bits>
cv::Mat Bitwise(const Call& c) {
  const Pair pair = InSameChannels(c);
  if (c.angle == 0) {
    return Upright(c, pair, OfEveryByte<Bits>);
  }
  const int largest = pair.first.depth() == CV_8U ? 255 : 65535;
  return kelra_reference::PlacedTurned(
      pair.first, pair.second, c.position.x, c.position.y, c.angle,
      Bits::kAllOnesAround ? largest : 0,
      [](const cv::Mat& a, const cv::Mat& b, const cv::Mat&) { return OfEveryByte<Bits>(a, b); });
}

cv::Mat Marked(const Call& c) {
  return kelra_reference::Marked(c.first->Mat(), c.second->Mat(), c.mode);
}

cv::Mat MarkedAgainstConstant(const Call& c) {
  return InRegion(c, [&](const cv::Mat& image) {
    return kelra_reference::MarkedAgainst(image, c.value, c.mode);
  });
}

bool UnderRunsIfRefused(const Call& call, KelLong status) {
  return IsUnderRuns(call) && (IsRegionFailure(status) || status == KELRA::ERR_BIT_DEPTH);
}

using Object = KelImageOperation;

constexpr Operation kOperations[] = {
    {"Add", CallArithmetic<&Object::Add>, Arithmetic<kelra_reference::kAdd>,
     kBindsBuffer | kPromotesInputs},
    {"Subtract", CallArithmetic<&Object::Subtract>, Arithmetic<kelra_reference::kSubtract>,
     kBindsBuffer | kPromotesInputs},
    {"Multiply", CallArithmetic<&Object::Multiply>, Arithmetic<kelra_reference::kMultiply>,
     kBindsBuffer | kPromotesInputs},
    {"Divide", CallArithmetic<&Object::Divide>, Arithmetic<kelra_reference::kDivide>,
     kBindsBuffer | kPromotesInputs},
    {"BitAnd", CallBitwise<&Object::BitAnd>, Bitwise<And>, kThrowsNothing | kPromotesInputs},
    {"BitOr", CallBitwise<&Object::BitOr>, Bitwise<Or>, kThrowsNothing | kPromotesInputs},
    {"BitXor", CallBitwise<&Object::BitXor>, Bitwise<Xor>, kThrowsNothing | kPromotesInputs},
    {"Compare", CallCompare, Marked},
    {"CompareConst", CallCompareConst, MarkedAgainstConstant, 0, UnderRunsIfRefused},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CheckCalls(kOperations, data, size);
  return 0;
}
