// The tables of the wide forms, by instruction set. A table has every entry; its forms hand rows
// that are too short for them to narrower ones.
#pragma once

#include "rows/kernels/scaling_kernels.h"

namespace q32::rows {

extern const ScalingKernels sse41_scaling_kernels;
extern const ScalingKernels avx2_scaling_kernels;
extern const ScalingKernels avx512_scaling_kernels;

} // namespace q32::rows
