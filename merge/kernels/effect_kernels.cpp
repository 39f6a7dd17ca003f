// The chooser: which form of each effect an instruction set runs.
#include "merge/kernels/effect_kernels.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::merge {

const EffectKernels &effect_kernels(InstructionSet) {
    return scalar_effect_kernels;
}

} // namespace q32::merge
