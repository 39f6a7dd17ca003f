// The chooser: which table of kernels an instruction set runs.
#include "display/kernels/show_kernels.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::display {

const ShowKernels &show_kernels(InstructionSet) {
    return scalar_show_kernels;
}

} // namespace q32::display
