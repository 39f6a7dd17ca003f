// Scaling by whole factors with the byte shuffle, 16 bytes at a time.
#include "rows/kernels/scaling_forms.h"

namespace q32::rows {

constinit const ScalingKernels sse41_scaling_kernels =
    scaling_table<WideScaling<V16, scalar_scaling_kernels, sse41_row_kernels>>();

} // namespace q32::rows
