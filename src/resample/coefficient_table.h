// The bicubic coefficient table of the process, for as long as it lives. Kernels have weights of
// their own and never read it: programs may free it at any time.
#pragma once

namespace q32::resample {

// Allocates and fills it unless that has been done before. False when there is no memory. Buffers
// call it inside the library's lock.
bool make_coefficient_table();

// Whether it has ever been made; it may have been freed since.
bool coefficient_table_was_made();

} // namespace q32::resample
