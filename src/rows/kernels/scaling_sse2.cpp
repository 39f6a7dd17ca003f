// Scaling by whole factors for the baseline, 16 bytes at a time and without a byte shuffle.
#include "rows/kernels/scaling_table.h"
#include "rows/kernels/wide.h"

namespace q32::rows {
namespace {

using Forms = WideScaling<V16, scalar_scaling_kernels, bit_to_byte_sse2>;

} // namespace

constinit const ScalingKernels sse2_scaling_kernels = scaling_table<Forms, Forms>();

} // namespace q32::rows
