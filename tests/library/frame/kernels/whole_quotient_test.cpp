// Quotients by a constant whose steps the kernels put together where that gives the same bytes.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "build_speed.h"
#include "every_instruction_set.h"
#include "frame/kernels/row_kernels.h"

namespace KELRA::kernels {
namespace {

constexpr int kConstantStep = kelra_test::kSlowBuild ? 31 : 1;

template <class Sample>
std::vector<Sample> EverySample() {
  std::vector<Sample> samples(std::size_t{1} << (8 * sizeof(Sample)));
  for (std::size_t s = 0; s < samples.size(); ++s) {
    samples[s] = static_cast<Sample>(s);
  }
  return samples;
}

// Each step rounded to single precision.
template <class Sample>
std::vector<Sample> Model(const std::vector<Sample>& samples, float constant, Linear linear) {
  constexpr float kLargest = sizeof(Sample) == 1 ? 255.0F : 65535.0F;
  std::vector<Sample> quotients(samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const float quotient = static_cast<float>(samples[i]) / constant;
    const float scaled = quotient * linear.scale;
    const float moved = scaled + linear.offset;
    const float up = moved + 0.5F;
    const float cut = up > 0.0F ? up : 0.0F;
    quotients[i] = static_cast<Sample>(static_cast<int>(cut < kLargest ? cut : kLargest));
  }
  return quotients;
}

template <class Sample>
std::vector<Sample> Quotients(const SampleKernels<Sample>& kernels,
                              const std::vector<Sample>& samples, float constant, Linear linear) {
  std::vector<Sample> quotients(samples.size());
  const auto count = static_cast<std::ptrdiff_t>(samples.size());
  kernels.with_constant[kDivide]({samples.data(), 0}, {quotients.data(), 0}, {1, count, count},
                                 constant, linear);
  return quotients;
}

// The steps are put together for all but the last four, for which some constant or every one
// leaves too little room.
constexpr Linear kLinears[] = {
    {1, 0},       {1, -3},     {2, 3},     {0.5F, 0.25F},    {0.25F, 7.5F},   {16, -100},
    {0.125F, 12}, {1, 0.125F}, {2, 8191},  {1, 1.0F / 256},  {1, 1.0F / 512}, {32, 0.5F},
    {1, 65535},   {1.1F, 3},   {-1, 1000}, {1.0F / 1024, 0},
};

class WholeQuotient : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(WholeQuotient);

TEST_P(WholeQuotient, Of8BitSamplesHasTheBytesOfEachStepRounded) {
  const auto samples = EverySample<std::uint8_t>();
  for (const Linear linear : kLinears) {
    for (int constant = 1; constant <= 255; ++constant) {
      const auto c = static_cast<float>(constant);
      ASSERT_EQ(Quotients(GetParam()->u8, samples, c, linear), Model(samples, c, linear))
          << constant << ", scale " << linear.scale << ", offset " << linear.offset;
    }
  }
}

TEST_P(WholeQuotient, Of16BitSamplesHasTheBytesOfEachStepRounded) {
  const auto samples = EverySample<std::uint16_t>();
  for (const Linear linear : kLinears) {
    for (int constant = 1; constant <= 65535;
         constant += (constant < 40 ? 1 : 997) * kConstantStep) {
      const auto c = static_cast<float>(constant);
      ASSERT_EQ(Quotients(GetParam()->u16, samples, c, linear), Model(samples, c, linear))
          << constant << ", scale " << linear.scale << ", offset " << linear.offset;
    }
  }
}

TEST(WholeQuotientExhaustive, EveryConstantDividesEverySample) {
  const auto samples = EverySample<std::uint16_t>();
  for (int constant = 1; constant <= 65535; constant += kConstantStep) {
    const auto c = static_cast<float>(constant);
    ASSERT_EQ(Quotients(ActiveRowKernels().u16, samples, c, {1, 0}), Model(samples, c, {1, 0}))
        << constant;
  }
}

}  // namespace
}  // namespace KELRA::kernels
