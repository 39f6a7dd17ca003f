// The chooser: which forms an instruction set runs.
#include "merge/kernels/colour_forms.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::merge {

const ColourKernels &colour_kernels(InstructionSet level) {
    switch (level) {
    case InstructionSet::sse2: // without the byte shuffle nothing pays
        return scalar_colour_kernels;
    case InstructionSet::sse41:
        return sse41_colour_kernels;
    case InstructionSet::avx2:
        return avx2_colour_kernels;
    case InstructionSet::avx512:
        return avx512_colour_kernels;
    }
    return scalar_colour_kernels;
}

} // namespace q32::merge
