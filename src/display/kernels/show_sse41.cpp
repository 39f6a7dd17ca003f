// Showing for processors with the byte shuffle, 16 bytes at a time.
#include "display/kernels/show_forms.h"

namespace q32::display {

constexpr ShowKernels sse41_show_kernels = show_table<WideShows<V16, scalar_show_kernels>>();

} // namespace q32::display
