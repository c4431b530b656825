#include "frame/kernels/target_region.h"

KELRA_BEGIN_TARGET("avx512f,avx512bw,avx512vl,avx512vbmi")
namespace KELRA::kernels::avx512vbmi {

#include "frame/kernels/vector_avx512vbmi.inl"

#include "frame/kernels/row_kernels.inl"

const RowKernels kRowKernels = KernelsNamed("AVX-512 VBMI");

}  // namespace KELRA::kernels::avx512vbmi
KELRA_END_TARGET
