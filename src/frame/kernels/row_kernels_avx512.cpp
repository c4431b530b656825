#include "frame/kernels/target_region.h"

KELRA_BEGIN_TARGET("avx512f,avx512bw,avx512vl")
namespace KELRA::kernels::avx512 {

#include "frame/kernels/vector_avx512.inl"

#include "frame/kernels/row_kernels.inl"

const RowKernels kRowKernels = KernelsNamed("AVX-512");

}  // namespace KELRA::kernels::avx512
KELRA_END_TARGET
