// The chooser: which table of blends an instruction set runs.
#include "merge/kernels/blend_wide.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::merge {

const BlendKernels &blend_kernels(InstructionSet level) {
    switch (level) {
    case InstructionSet::sse2:
        return sse2_blend_kernels;
    case InstructionSet::sse41:
        return sse41_blend_kernels;
    case InstructionSet::avx2:
    case InstructionSet::avx512: // 64 bytes at a time gain nothing where they count
        return avx2_blend_kernels;
    }
    return sse2_blend_kernels;
}

} // namespace q32::merge
