#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const InterpolationKernels bicubic_sse41{};

} // namespace q32::resample
