// The chooser: which table of blends an instruction set runs.
#include "merge/kernels/blend_kernels.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::merge {

const BlendKernels &blend_kernels(InstructionSet) {
    return scalar_blend_kernels;
}

} // namespace q32::merge
