// Blending for AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says why).
#include "merge/kernels/blend_forms.h"

namespace q32::merge {
namespace {

constexpr BlendKernels shorter_blend_kernels = blend_table<WideBlends<V16, scalar_blend_kernels>>();

} // namespace

constinit const BlendKernels avx2_blend_kernels =
    blend_table<WideBlends<V32, shorter_blend_kernels>>();

} // namespace q32::merge
