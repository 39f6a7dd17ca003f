// The chooser: which kernels an instruction set runs.
#include "resample/kernels/resample_tables.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::resample {

const ResampleKernels scalar_resample_kernels{nearest_scalar, bilinear_scalar, bicubic_scalar};

const ResampleKernels &resample_kernels(InstructionSet) {
    return scalar_resample_kernels; // until the wide forms are there
}

} // namespace q32::resample
