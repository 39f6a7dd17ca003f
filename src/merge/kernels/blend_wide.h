// The tables of the wide forms, by instruction set. A table has every entry; its forms hand runs
// that are too short for them to the table of the next narrower set.
#pragma once

#include "merge/kernels/blend_kernels.h"

namespace q32::merge {

extern const BlendKernels sse2_blend_kernels;
extern const BlendKernels sse41_blend_kernels;
extern const BlendKernels avx2_blend_kernels;

} // namespace q32::merge
