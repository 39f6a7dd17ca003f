// The chooser: which form of each conversion and transfer an instruction set runs.
#include "merge/kernels/colour_kernels.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::merge {

const ColourKernels &colour_kernels(InstructionSet) {
    return scalar_colour_kernels;
}

} // namespace q32::merge
