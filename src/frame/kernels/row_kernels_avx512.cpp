#include <immintrin.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "frame/kernels/row_kernels.h"
#include "frame/kernels/target_region.h"

KELRA_BEGIN_TARGET("avx512f,avx512bw,avx512vl")
namespace KELRA::kernels::avx512 {

#include "frame/kernels/vector_avx512.inl"

#include "frame/kernels/bilinear_rows.inl"

#include "frame/kernels/grid_sampling.inl"

#include "frame/kernels/row_kernels.inl"

#include "frame/kernels/depth_conversion.inl"

#include "frame/kernels/mask_bits.inl"

const RowKernels kRowKernels = {"AVX-512",
                                kSampleKernels<std::uint8_t>,
                                kSampleKernels<std::uint16_t>,
                                kDepthConversions,
                                BitsOfMask,
                                StreamBytesOfRows};

}  // namespace KELRA::kernels::avx512
KELRA_END_TARGET
