// The effects for processors with the byte shuffle, 16 bytes at a time.
#include "merge/kernels/effect_forms.h"

namespace q32::merge {

constexpr EffectKernels sse41_effect_kernels =
    effect_table<WideEffects<V16, scalar_effect_kernels>>();

} // namespace q32::merge
