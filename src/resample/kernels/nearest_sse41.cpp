// Nearest neighbour for SSE4.1: 16 bytes at a time.
#include "resample/kernels/nearest_windows.h"
#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const MethodKernels nearest_sse41 = NearestByWindows<V16>::kernels;

} // namespace q32::resample
