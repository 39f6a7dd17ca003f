// The chooser: which table of effects an instruction set runs.
#include "merge/kernels/effect_wide.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::merge {

const EffectKernels &effect_kernels(InstructionSet level) {
    switch (level) {
    case InstructionSet::sse2:
        return sse2_effect_kernels;
    case InstructionSet::sse41:
        return sse41_effect_kernels;
    case InstructionSet::avx2:
        return avx2_effect_kernels;
    case InstructionSet::avx512:
        return avx512_effect_kernels;
    }
    return sse2_effect_kernels;
}

} // namespace q32::merge
