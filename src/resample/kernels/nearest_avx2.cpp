// Nearest neighbour for AVX2, 32 bytes at a time.
#include "resample/kernels/nearest_forms.h"

namespace q32::resample {

constexpr MethodKernels avx2_nearest_kernels = method_kernels<WideNearest<V32, V32, V16>>();

} // namespace q32::resample
