// The chooser: which forms an instruction set runs.
#include "merge/kernels/colour_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::merge {

const ColourKernels &colour_kernels(InstructionSet level) {
    // Without the byte shuffle nothing pays.
    return choose(level, scalar_colour_kernels, sse41_colour_kernels, avx2_colour_kernels,
                  avx512_colour_kernels);
}

} // namespace q32::merge
