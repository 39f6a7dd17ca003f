// What the start and stop of the library need of resampling, and which kernels this process runs.
#pragma once

#include "library/process/kernel_choice.h"
#include "resample/kernels/resample_kernels.h"

namespace q32::resample {

inline const ResampleKernels &kernels() {
    return *chosen_kernels<ResampleKernels>;
}

// At the end of the library: the bicubic coefficient table, and the tables kept between frames.
void free_coefficient_table();
void free_kept_tables();

} // namespace q32::resample
