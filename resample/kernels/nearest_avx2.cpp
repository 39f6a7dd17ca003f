#include "resample/kernels/resample_tables.h"

namespace q32::resample {

const NearestKernels nearest_avx2{};

} // namespace q32::resample
