// The chooser: which table of kernels an instruction set runs.
#include "display/kernels/show_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::display {

const ShowKernels &show_kernels(InstructionSet level) {
    return choose(level, sse2_show_kernels, sse41_show_kernels, avx2_show_kernels,
                  avx512_show_kernels);
}

} // namespace q32::display
