// The effects for AVX2, 32 bytes at a time.
#include "merge/kernels/effect_frames.h"
#include "merge/kernels/effect_wide.h"

namespace q32::merge {

constexpr EffectKernels avx2_effect_kernels =
    effect_table<WideEffects<V32, sse41_effect_kernels>>();

} // namespace q32::merge
