// For the baseline, 16 bytes at a time.
#include "samples/kernel/dim_forms.h"

namespace q32::sample {

constinit const DimKernels sse2_dim_kernels = dim_table<WideDims<V16, scalar_dim_kernels>>();

} // namespace q32::sample
