// One resampling of a buffer into another, and the paths on which the work is done. Which one is
// taken is buffer_resample.cpp's part.
#pragma once

#include "buffer/record.h"
#include "resample/methods.h"
#include "resample/progress.h"

#include <q32base/buffers.h>

namespace q32::resample {

struct BufferJob {
    HBUF32 source;      // locked for reading
    HBUF32 destination; // perhaps the caller's own: of any size, depth and type, or gone
    const Progress &progress;

    const BUF32INFO &source_info() const { return buffer::record_of(source)->info; }
};

// Each reports and returns false when it fails or is stopped.

// By cells of the destination: pixels of 8 and 24 bits; others are refused.
bool resample_cells(const BufferJob &job, const Method &method);

// By rows: pixels of two bytes, or of whole bytes where the method does not go through 24 bits.
bool resample_rows(const BufferJob &job, const Method &method);

// By rows of pixels under 8 bits, to the nearest neighbour.
bool resample_bit_rows(const BufferJob &job);

} // namespace q32::resample
