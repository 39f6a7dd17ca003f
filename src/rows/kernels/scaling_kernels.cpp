// The chooser: which table of scaling by whole factors an instruction set runs.
#include "rows/kernels/scaling_wide.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::rows {

const ScalingKernels &scaling_kernels(InstructionSet level) {
    return choose(level, sse2_scaling_kernels, sse41_scaling_kernels, avx2_scaling_kernels,
                  avx512_scaling_kernels);
}

} // namespace q32::rows
