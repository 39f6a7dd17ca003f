// The wide forms, by instruction set. Runs that are too short for one are handed to the next
// narrower one.
#pragma once

#include "merge/kernels/colour_kernels.h"

namespace q32::merge {

extern const ColourKernels sse41_colour_kernels, avx2_colour_kernels, avx512_colour_kernels;

} // namespace q32::merge
