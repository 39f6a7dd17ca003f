#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const InterpolationKernels bicubic_scalar{};

} // namespace q32::resample
