// Bilinear interpolation for AVX2, 32 bytes at a time.
#include "resample/kernels/bilinear_forms.h"

namespace q32::resample {

constexpr MethodKernels avx2_bilinear_kernels = method_kernels<WideBilinear<V32>>();

} // namespace q32::resample
