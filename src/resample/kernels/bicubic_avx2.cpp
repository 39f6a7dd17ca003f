// Bicubic interpolation for AVX2, 32 bytes at a time.
#include "resample/kernels/bicubic_forms.h"

namespace q32::resample {

constexpr MethodKernels bicubic_avx2 = wide_bicubic<V32>;

} // namespace q32::resample
