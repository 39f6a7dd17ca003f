// Scaling by whole factors for AVX-512 with VBMI: enlarging 64 bytes at a time, by permutations
// across lanes. Reducing gains nothing from them.
#include "rows/kernels/scaling_table.h"
#include "rows/kernels/scaling_wide.h"
#include "rows/kernels/wide.h"

namespace q32::rows {
namespace {

using Enlarging = WideScaling<V64, avx2_scaling_kernels, bit_to_byte_avx512>;
using Reducing = WideScaling<V32, avx2_scaling_kernels, bit_to_byte_avx512>;

} // namespace

constinit const ScalingKernels avx512_scaling_kernels = scaling_table<Enlarging, Reducing>();

} // namespace q32::rows
