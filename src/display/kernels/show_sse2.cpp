// Showing for the baseline, 16 bytes at a time and without a byte shuffle.
#include "display/kernels/show_forms.h"

namespace q32::display {

constexpr ShowKernels sse2_show_kernels = show_table<WideShows<V16, scalar_show_kernels>>();

} // namespace q32::display
