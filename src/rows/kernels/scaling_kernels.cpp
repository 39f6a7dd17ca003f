// The chooser: which table of scaling by whole factors an instruction set runs.
#include "rows/kernels/scaling_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::rows {

const ScalingKernels &scaling_kernels(InstructionSet level) {
    return choose(level, sse2_scaling_kernels, sse41_scaling_kernels, avx2_scaling_kernels,
                  avx512_scaling_kernels);
}

} // namespace q32::rows
