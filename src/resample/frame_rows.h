// The pixels of one frame, resampled row by row once the positions are known.
#pragma once

#include "library/process/owners.h"
#include "resample/kernels/row_resampler.h"
#include "resample/methods.h"

#include <cstdint>

namespace q32::resample {

// One 24-bit row of the source and one of the destination, between which 5-5-5 frames are
// resampled.
class WideRows {
public:
    // False when there is no memory.
    bool allocate(int source_columns, int destination_columns);

    std::uint8_t *source() const { return static_cast<std::uint8_t *>(source_.get()); }
    std::uint8_t *destination() const { return static_cast<std::uint8_t *>(destination_.get()); }

private:
    GlobalBlock source_, destination_;
};

struct Frame {
    DestinationImage destination;
    SourceImage source;
    int pixel_bytes;           // as they are stored, on both sides
    const WideRows *wide_rows; // null: pixels do not go through 24 bits
};

// Reports and returns 0 when there is no memory.
int resample_frame_rows(const Frame &frame, const Method &method);

} // namespace q32::resample
