// The chooser: which table of effects an instruction set runs.
#include "merge/kernels/effect_wide.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::merge {

const EffectKernels &effect_kernels(InstructionSet level) {
    return choose(level, sse2_effect_kernels, sse41_effect_kernels, avx2_effect_kernels,
                  avx512_effect_kernels);
}

} // namespace q32::merge
