#include "frame/kernels/target_region.h"

KELRA_BEGIN_TARGET("avx2,fma")
namespace KELRA::kernels::avx2 {

#include "frame/kernels/vector_avx2.inl"

#include "frame/kernels/row_kernels.inl"

const RowKernels kRowKernels = KernelsNamed("AVX2");

}  // namespace KELRA::kernels::avx2
KELRA_END_TARGET
