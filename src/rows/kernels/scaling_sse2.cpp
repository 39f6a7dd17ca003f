// Scaling by whole factors for the baseline, 16 bytes at a time and without a byte shuffle.
#include "rows/kernels/scaling_forms.h"

namespace q32::rows {

constinit const ScalingKernels sse2_scaling_kernels =
    scaling_table<WideScaling<V16, scalar_scaling_kernels, sse2_row_kernels>>();

} // namespace q32::rows
