// Nearest neighbour for AVX-512: 64 bytes at a time.
#include "resample/kernels/nearest_windows.h"
#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const MethodKernels nearest_avx512 = NearestByWindows<V64, V32>::kernels;

} // namespace q32::resample
