// Resampling of pixels under 8 bits by rows, to the nearest neighbour.
#pragma once

#include "resample/buffer_job.h"

namespace q32::resample {

// Reports and returns false when it fails or is stopped.
bool resample_bit_rows(const BufferJob &job);

} // namespace q32::resample
