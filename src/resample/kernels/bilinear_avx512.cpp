// Bilinear interpolation for AVX-512: 64 bytes at a time at half and twice the size, 32 bytes
// otherwise.
#include "resample/kernels/bilinear_forms.h"

namespace q32::resample {

constexpr MethodKernels avx512_bilinear_kernels = method_kernels<WideBilinear<V32, V64>>();

} // namespace q32::resample
