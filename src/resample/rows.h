// Resampling by rows: the way of 16-bit pixels, and of nearest neighbour on pixels of whole bytes.
#pragma once

#include "resample/buffer_job.h"

namespace q32::resample {

// Nearest neighbour needs pixels of at least 8 bits, the other methods pixels of two bytes. Reports
// and returns false when it fails or is stopped.
bool resample_rows(const BufferJob &job, int method);

} // namespace q32::resample
