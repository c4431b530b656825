#include <immintrin.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "frame/kernels/row_kernels.h"
#include "frame/kernels/target_region.h"

KELRA_BEGIN_TARGET("sse4.1")
namespace KELRA::kernels::sse41 {

#include "frame/kernels/vector_sse41.inl"

#include "frame/kernels/bilinear_rows.inl"

#include "frame/kernels/grid_sampling.inl"

#include "frame/kernels/row_kernels.inl"

#include "frame/kernels/depth_conversion.inl"

#include "frame/kernels/mask_bits.inl"

const RowKernels kRowKernels = {"SSE4.1",
                                kSampleKernels<std::uint8_t>,
                                kSampleKernels<std::uint16_t>,
                                kDepthConversions,
                                BitsOfMask,
                                StreamBytesOfRows};

}  // namespace KELRA::kernels::sse41
KELRA_END_TARGET
