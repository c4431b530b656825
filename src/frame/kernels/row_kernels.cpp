#include "frame/kernels/row_kernels.h"

#include <vector>

#if defined(_MSC_VER)
#include <immintrin.h>
#include <intrin.h>
#endif

namespace KELRA::kernels {
namespace {

#if defined(_MSC_VER)

struct CpuId {
  int eax, ebx, ecx, edx;
};

CpuId Query(int leaf) {
  int r[4];
  __cpuidex(r, leaf, 0);
  return {r[0], r[1], r[2], r[3]};
}

// The bits of the register state that the system saves: 2 and 1 for AVX, 7 to 5 for AVX-512.
bool SystemSaves(unsigned long long state) {
  constexpr int kXsaveInUse = 1 << 27;
  return (Query(1).ecx & kXsaveInUse) != 0 && (_xgetbv(0) & state) == state;
}

// With fused multiply-add.
bool HasAvx2() {
  return SystemSaves(0x6) && (Query(7).ebx & (1 << 5)) != 0 && (Query(1).ecx & (1 << 12)) != 0;
}

// The foundation, bytes and words, and vector lengths.
bool HasAvx512() {
  constexpr unsigned kFoundationBytesAndLengths = 1U << 16 | 1U << 30 | 1U << 31;
  const auto features = static_cast<unsigned>(Query(7).ebx);
  return SystemSaves(0xE6) && (features & kFoundationBytesAndLengths) == kFoundationBytesAndLengths;
}

bool HasAvx512Vbmi() { return HasAvx512() && (Query(7).ecx & (1 << 1)) != 0; }

#else

// With fused multiply-add.
bool HasAvx2() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }

bool HasAvx512() {
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vl");
}

bool HasAvx512Vbmi() { return HasAvx512() && __builtin_cpu_supports("avx512vbmi"); }

#endif

std::vector<const RowKernels*> FindSupported() {
#if !defined(_MSC_VER)
  // Needed before the queries when this runs among the constructors of globals.
  __builtin_cpu_init();
#endif
  std::vector<const RowKernels*> supported = {&sse41::kRowKernels};
  if (HasAvx2()) {
    supported.push_back(&avx2::kRowKernels);
  }
  if (HasAvx512()) {
    supported.push_back(&avx512::kRowKernels);
  }
  if (HasAvx512Vbmi()) {
    supported.push_back(&avx512vbmi::kRowKernels);
  }
  return supported;
}

const std::vector<const RowKernels*> g_supported = FindSupported();
const RowKernels* g_active = g_supported.back();

}  // namespace

std::span<const RowKernels* const> SupportedRowKernels() { return g_supported; }

const RowKernels& ActiveRowKernels() { return *g_active; }

void UseRowKernels(const RowKernels& kernels) { g_active = &kernels; }

}  // namespace KELRA::kernels
