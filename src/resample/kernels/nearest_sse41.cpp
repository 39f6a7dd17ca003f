// Nearest neighbour for processors with the byte shuffle, 16 bytes at a time.
#include "resample/kernels/nearest_forms.h"

namespace q32::resample {

constexpr MethodKernels sse41_nearest_kernels = method_kernels<WideNearest<V16, V16>>();

} // namespace q32::resample
