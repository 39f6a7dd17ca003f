// The chooser: which forms an instruction set runs.
#include "merge/kernels/colour_forms.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::merge {

const ColourKernels &colour_kernels(InstructionSet level) {
    // Without the byte shuffle nothing pays.
    return choose(level, scalar_colour_kernels, sse41_colour_kernels, avx2_colour_kernels,
                  avx512_colour_kernels);
}

} // namespace q32::merge
