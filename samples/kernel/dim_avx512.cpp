// For AVX-512, 64 bytes at a time.
#include "samples/kernel/dim_forms.h"

namespace q32::sample {

constinit const DimKernels avx512_dim_kernels = dim_table<WideDims<V64, avx2_dim_kernels>>();

} // namespace q32::sample
