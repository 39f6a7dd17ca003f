// Scaling by whole factors for AVX2, 32 bytes at a time, and 16 in rows that are shorter
// (simd/walk.h says why).
#include "rows/kernels/scaling_table.h"
#include "rows/kernels/scaling_wide.h"
#include "rows/kernels/wide.h"

namespace q32::rows {
namespace {

using Shorter = WideScaling<V16, scalar_scaling_kernels, bit_to_byte_avx2>;
constexpr ScalingKernels shorter_scaling_kernels = scaling_table<Shorter, Shorter>();

using Forms = WideScaling<V32, shorter_scaling_kernels, bit_to_byte_avx2>;

} // namespace

constinit const ScalingKernels avx2_scaling_kernels = scaling_table<Forms, Forms>();

} // namespace q32::rows
