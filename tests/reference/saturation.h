// How a final value becomes a sample, by definition.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace kelra_reference {

template <class Sample>
inline constexpr int kLargestSample = std::numeric_limits<Sample>::max();

// Below the sample range 0, above it the largest sample, NaN 0.
template <class Sample, class Float>
Float ClampToSamples(Float value) {
  constexpr auto kLargest = static_cast<Float>(kLargestSample<Sample>);
  if (std::isnan(value) || value < 0) {
    return 0;
  }
  return value > kLargest ? kLargest : value;
}

template <class Sample, class Float>
Sample ClampAndTruncate(Float value) {
  return static_cast<Sample>(std::floor(ClampToSamples<Sample>(value)));
}

// To the nearest integer; a value halfway between two goes to the even one.
template <class Sample>
Sample ClampAndRoundToEven(float value) {
  const float clamped = ClampToSamples<Sample>(value);
  const float below = std::floor(clamped);
  const float rest = clamped - below;
  const auto integer = static_cast<int>(below);
  const bool up = rest > 0.5F || (rest == 0.5F && integer % 2 == 1);
  return static_cast<Sample>(up ? integer + 1 : integer);
}

// 0.5 is added in double precision; the sum, in single precision again, is truncated.
template <class Sample>
Sample ClampAndRoundHalfUp(float value) {
  const double sum = static_cast<double>(value) + 0.5;
  return ClampAndTruncate<Sample>(static_cast<float>(sum));
}

}  // namespace kelra_reference
