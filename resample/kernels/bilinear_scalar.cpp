#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const InterpolationKernels bilinear_scalar{};

} // namespace q32::resample
