// Bicubic interpolation for the baseline, 16 bytes at a time.
#include "resample/kernels/bicubic_forms.h"

namespace q32::resample {

constexpr MethodKernels sse2_bicubic_kernels = method_kernels<WideBicubic<V16>>();

} // namespace q32::resample
