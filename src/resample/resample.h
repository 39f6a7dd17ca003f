// What the start and stop of the library need of resampling, and which kernels this process runs.
// The choice is made once, at attach, before any export can be called.
#pragma once

#include "resample/kernels/resample_tables.h"

namespace q32::resample {

void choose_kernels(InstructionSet level);
const ResampleKernels &kernels();

// At the end of the library: the bicubic coefficient table, and the tables kept between frames.
void free_coefficient_table();
void free_kept_tables();

} // namespace q32::resample
