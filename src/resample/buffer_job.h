// One resampling of a buffer into another, as the driver hands it to the path that does the work.
#pragma once

#include "buffer/record.h"
#include "resample/progress.h"

#include <q32base/buffers.h>

namespace q32::resample {

struct BufferJob {
    HBUF32 source;      // locked for reading
    HBUF32 destination; // perhaps the caller's own: of any size, depth and type, or gone
    const Progress &progress;

    const BUF32INFO &source_info() const { return buffer::record_of(source)->info; }
};

} // namespace q32::resample
