// Nearest neighbour for AVX-512, 64 bytes at a time, and 32 where that takes too many windows.
#include "resample/kernels/nearest_forms.h"

namespace q32::resample {

constexpr MethodKernels avx512_nearest_kernels = method_kernels<WideNearest<V64, V64, V32, V16>>();

} // namespace q32::resample
