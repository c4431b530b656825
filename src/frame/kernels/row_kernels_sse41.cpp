#include "frame/kernels/target_region.h"

KELRA_BEGIN_TARGET("sse4.1")
namespace KELRA::kernels::sse41 {

#include "frame/kernels/vector_sse41.inl"

#include "frame/kernels/row_kernels.inl"

const RowKernels kRowKernels = KernelsNamed("SSE4.1");

}  // namespace KELRA::kernels::sse41
KELRA_END_TARGET
