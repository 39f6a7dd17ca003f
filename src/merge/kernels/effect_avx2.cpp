// The effects for AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says why).
#include "merge/kernels/effect_forms.h"

namespace q32::merge {
namespace {

constexpr EffectKernels shorter_effect_kernels =
    effect_table<WideEffects<V16, scalar_effect_kernels>>();

} // namespace

constexpr EffectKernels avx2_effect_kernels =
    effect_table<WideEffects<V32, shorter_effect_kernels>>();

} // namespace q32::merge
