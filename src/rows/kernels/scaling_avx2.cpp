// Scaling by whole factors for AVX2, 32 bytes at a time, and 16 in rows that are shorter
// (simd/walk.h says why).
#include "rows/kernels/scaling_forms.h"

namespace q32::rows {
namespace {

constexpr ScalingKernels shorter_scaling_kernels =
    scaling_table<WideScaling<V16, scalar_scaling_kernels, avx2_row_kernels>>();

} // namespace

constinit const ScalingKernels avx2_scaling_kernels =
    scaling_table<WideScaling<V32, shorter_scaling_kernels, avx2_row_kernels>>();

} // namespace q32::rows
