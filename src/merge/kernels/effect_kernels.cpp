// The chooser: which table of effects an instruction set runs.
#include "merge/kernels/effect_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::merge {

const EffectKernels &effect_kernels(InstructionSet level) {
    return choose(level, sse2_effect_kernels, sse41_effect_kernels, avx2_effect_kernels,
                  avx512_effect_kernels);
}

} // namespace q32::merge
