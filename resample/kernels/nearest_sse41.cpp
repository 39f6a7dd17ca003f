#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const NearestKernels nearest_sse41{};

} // namespace q32::resample
