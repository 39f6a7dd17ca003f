#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const NearestKernels nearest_scalar{};

} // namespace q32::resample
