// The effects for AVX-512 with VBMI, 64 bytes at a time.
#include "merge/kernels/effect_forms.h"

namespace q32::merge {

constexpr EffectKernels avx512_effect_kernels =
    effect_table<WideEffects<V64, avx2_effect_kernels>>();

} // namespace q32::merge
