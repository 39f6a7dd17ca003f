// The kernels of each method and instruction set, and which of them a process runs: one table for
// each instruction set, with a column for each method.
#pragma once

#include "library/process/cpu.h"
#include "resample/kernels/resample_kernels.h"

namespace q32::resample {

extern const MethodKernels nearest_scalar;
extern const MethodKernels nearest_sse2;
extern const MethodKernels nearest_sse41;
extern const MethodKernels nearest_avx2;
extern const MethodKernels nearest_avx512;

extern const MethodKernels bilinear_scalar;
extern const MethodKernels bilinear_sse2;
extern const MethodKernels bilinear_sse41;
extern const MethodKernels bilinear_avx2;

extern const MethodKernels bicubic_scalar;
extern const MethodKernels bicubic_sse2;
extern const MethodKernels bicubic_sse41;
extern const MethodKernels bicubic_avx2;

struct ResampleKernels {
    const MethodKernels *nearest;
    const MethodKernels *bilinear;
    const MethodKernels *bicubic;
};

// The reference: reads like the rules. No instruction set chooses this table.
extern const ResampleKernels scalar_resample_kernels;

// The fastest forms that need no more than this instruction set.
const ResampleKernels &resample_kernels(InstructionSet level);

} // namespace q32::resample
