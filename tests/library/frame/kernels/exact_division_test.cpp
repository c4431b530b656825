// The division by a constant that the fused kernels do without dividing.

#include <gtest/gtest.h>
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "build_speed.h"
#include "frame/kernels/target_region.h"

KELRA_BEGIN_TARGET("avx2,fma")
namespace KELRA::exact_division {

#include "frame/kernels/vector_avx2.inl"

// Whether the quotients of all samples by the divisor have the bits of a division.
bool IsExactForAllSamples(const std::vector<float>& samples, float divisor) {
  const Divisor prepared(divisor);
  const Floats plain = Set(divisor);
  __m256i differing = _mm256_setzero_si256();
  for (std::size_t i = 0; i < samples.size(); i += 8) {
    const Floats s{_mm256_loadu_ps(samples.data() + i)};
    const __m256i fast = _mm256_castps_si256(Divide(s, prepared).v);
    const __m256i exact = _mm256_castps_si256(Divide(s, plain).v);
    differing = _mm256_or_si256(differing, _mm256_xor_si256(fast, exact));
  }
  return _mm256_testz_si256(differing, differing) != 0;
}

}  // namespace KELRA::exact_division
KELRA_END_TARGET

namespace KELRA {
namespace {

constexpr int kConstantStep = kelra_test::kSlowBuild ? 16 : 1;

TEST(ExactDivisionExhaustive, EveryConstantDividesEverySampleToTheBit) {
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) {
    GTEST_SKIP() << "this processor has no fused multiply-add";
  }
  std::vector<float> samples(65536);
  for (std::size_t s = 0; s < samples.size(); ++s) {
    samples[s] = static_cast<float>(s);
  }
  for (int constant = 1; constant <= 65535; constant += kConstantStep) {
    ASSERT_TRUE(exact_division::IsExactForAllSamples(samples, static_cast<float>(constant)))
        << "constant " << constant;
  }
}

// Where the reciprocal overflows the sum of its halves is no longer a number; a division gives
// infinity.
TEST(ExactDivisionExhaustive, TheComparisonSeesADifference) {
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) {
    GTEST_SKIP() << "this processor has no fused multiply-add";
  }
  EXPECT_FALSE(exact_division::IsExactForAllSamples(std::vector<float>(8, 1.0F), 1e-45F));
}

}  // namespace
}  // namespace KELRA
