// The chooser: which forms of scaling by whole factors an instruction set runs. Each table begins
// as the one below it and replaces what it has a faster form of.
#include "rows/kernels/scaling_scalar.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::rows {

constexpr ScalingKernels scalar_scaling_kernels = {
    .enlarge_bits = enlarge_bits,
    .enlarge = {enlarge_1, enlarge_2, enlarge_3, enlarge_4, enlarge_3_swapped},
    .reduce_bits = reduce_bits,
    .reduce = {reduce_1, reduce_2, reduce_3, reduce_4, reduce_3_swapped},
};

constexpr ScalingKernels sse2_scaling_kernels = scalar_scaling_kernels;

const ScalingKernels &scaling_kernels(InstructionSet) {
    return sse2_scaling_kernels;
}

} // namespace q32::rows
