// Bicubic interpolation for SSE2, 16 bytes at a time.
#include "resample/kernels/bicubic_forms.h"

namespace q32::resample {

constexpr MethodKernels bicubic_sse2 = wide_bicubic<V16>;

} // namespace q32::resample
