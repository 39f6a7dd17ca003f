// Scaling by whole factors with the byte shuffle, 16 bytes at a time.
#include "rows/kernels/scaling_table.h"
#include "rows/kernels/scaling_wide.h"
#include "rows/kernels/wide.h"

namespace q32::rows {
namespace {

using Forms = WideScaling<V16, scalar_scaling_kernels, bit_to_byte_sse41>;

} // namespace

constinit const ScalingKernels sse41_scaling_kernels = scaling_table<Forms, Forms>();

} // namespace q32::rows
