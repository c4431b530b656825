// Draws what calls are made of from a fuzzer's bytes: the same bytes always give the same calls.
// Bytes that are missing count as 0, which everywhere stands for the plainest choice.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <opencv2/core.hpp>

#include "KELRA/KelData.h"

namespace kelra_fuzz {

class InputReader {
 public:
  InputReader(const std::uint8_t* data, std::size_t size) : provider_(data, size) {}

  bool IsAtEnd() { return provider_.remaining_bytes() == 0; }

  // Within [lowest, highest].
  int Between(int lowest, int highest) { return provider_.ConsumeIntegralInRange(lowest, highest); }
  template <class T, std::size_t N>
  T OneOf(const T (&choices)[N]) {
    return choices[Between(0, static_cast<int>(N) - 1)];
  }
  bool Flip() { return Between(0, 1) == 1; }
  // True about once in `count` times.
  bool Rarely(int count) { return Between(0, count - 1) == count - 1; }

  // Mostly within [lowest, highest], now and then any integer and often one of the ends.
  int Mostly(int lowest, int highest);
  // Small numbers, fractions, the ends of the types, values that are no numbers.
  double AnyDouble();
  float AnyFloat() { return static_cast<float>(AnyDouble()); }
  // Mostly in or around [0, extent).
  double Coordinate(int extent);
  KELRA::KelPoint PointAround(cv::Size size);

  // Every kind, in, around and far from an image of the size.
  KELRA::KelROI RegionOfInterest(cv::Size size);
  KELRA::KelRegion Runs(cv::Size size);

 private:
  FuzzedDataProvider provider_;
};

}  // namespace kelra_fuzz
