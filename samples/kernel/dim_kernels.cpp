// The chooser: which table an instruction set runs.
#include "samples/kernel/dim_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::sample {

const DimKernels &dim_kernels(InstructionSet level) {
    // The byte shuffle of SSE4.1 has nothing to do here.
    return choose(level, sse2_dim_kernels, sse2_dim_kernels, avx2_dim_kernels, avx512_dim_kernels);
}

} // namespace q32::sample
