// Nearest neighbour for AVX2: 32 bytes at a time.
#include "resample/kernels/nearest_windows.h"
#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const MethodKernels nearest_avx2 = NearestByWindows<V32>::kernels;

} // namespace q32::resample
