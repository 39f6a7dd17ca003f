// Bicubic interpolation for AVX2, 32 bytes at a time.
#include "resample/kernels/bicubic_forms.h"

namespace q32::resample {

constexpr MethodKernels avx2_bicubic_kernels = method_kernels<WideBicubic<V32>>();

} // namespace q32::resample
