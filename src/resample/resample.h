// What belongs to the process: the kernels that it runs, and what the end of the library frees.
#pragma once

#include "library/process/kernel_choice.h"
#include "resample/kernels/resample_kernels.h"

namespace q32::resample {

inline const ResampleKernels &kernels() {
    return *chosen_kernels<ResampleKernels>;
}

// The bicubic coefficient table. Kernels have weights of their own and never read it: programs may
// free it at any time. Making it allocates and fills it unless that has been done before; false
// when there is no memory. Buffers call it inside the library's lock.
bool make_coefficient_table();
bool coefficient_table_was_made(); // ever: it may have been freed since
void free_coefficient_table();

// Those kept between frames.
void free_kept_tables();

} // namespace q32::resample
