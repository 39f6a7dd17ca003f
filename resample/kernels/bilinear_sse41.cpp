#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const InterpolationKernels bilinear_sse41{};

} // namespace q32::resample
