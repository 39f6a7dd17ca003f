// For AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says why).
#include "samples/kernel/dim_forms.h"

namespace q32::sample {
namespace {

constexpr DimKernels shorter_dim_kernels = dim_table<WideDims<V16, scalar_dim_kernels>>();

} // namespace

constinit const DimKernels avx2_dim_kernels = dim_table<WideDims<V32, shorter_dim_kernels>>();

} // namespace q32::sample
