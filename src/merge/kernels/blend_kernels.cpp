// The chooser: which table of blends an instruction set runs.
#include "merge/kernels/blend_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::merge {

const BlendKernels &blend_kernels(InstructionSet level) {
    // 64 bytes at a time gain nothing where they count.
    return choose(level, sse2_blend_kernels, sse41_blend_kernels, avx2_blend_kernels,
                  avx2_blend_kernels);
}

} // namespace q32::merge
