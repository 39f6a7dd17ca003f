// Resampling by cells of the destination: the way of 8- and 24-bit pixels.
#pragma once

#include "resample/buffer_job.h"

namespace q32::resample {

// Reports and returns false when it fails or is stopped, or refuses the pixels.
bool resample_cells(const BufferJob &job, int method);

} // namespace q32::resample
