// Nearest neighbour for the baseline, which cannot choose bytes: whole pixels are moved.
#include "resample/kernels/nearest_forms.h"

namespace q32::resample {

constexpr MethodKernels sse2_nearest_kernels = method_kernels<WideNearest<V16>>();

} // namespace q32::resample
