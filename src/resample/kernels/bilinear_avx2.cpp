// Bilinear interpolation for AVX2.
#include "resample/kernels/bilinear_forms.h"
#include "resample/kernels/resample_tables.h"

namespace q32::resample {

constinit const MethodKernels bilinear_avx2 = bilinear_wide<V32>;

} // namespace q32::resample
