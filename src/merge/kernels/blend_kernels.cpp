// The chooser: which table of blends an instruction set runs.
#include "merge/kernels/blend_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::merge {

const BlendKernels &blend_kernels(InstructionSet level) {
    return choose(level, sse2_blend_kernels, sse41_blend_kernels, avx2_blend_kernels,
                  avx512_blend_kernels);
}

} // namespace q32::merge
