// Bilinear interpolation for SSE2.
#include "resample/kernels/bilinear_forms.h"
#include "resample/kernels/resample_tables.h"

namespace q32::resample {

constinit const MethodKernels bilinear_sse2 = bilinear_wide<V16>;

} // namespace q32::resample
