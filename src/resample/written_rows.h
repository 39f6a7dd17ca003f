// What both row paths have in common: how they write the destination's rows.
#pragma once

#include "resample/buffer_paths.h"

#include <cstddef>
#include <cstdint>

namespace q32::resample {

// Bytes of a row as buf32Line moves it.
inline std::size_t stored_row_bytes(HBUF32 buffer) {
    const BUF32INFO &info = buffer::record_of(buffer)->info;
    return buffer::packed_bytes(info.width, info.bits_per_pixel);
}

// Has each row made in the given memory, and writes it into the destination in a mode of buf32Line.
template <typename MakeRow>
bool write_rows(const BufferJob &job, int rows, const RowStops &stops, int line_mode,
                std::uint8_t *row, const MakeRow &make_row) {
    RowProgress progress(job.progress, rows, stops);
    for (int y = 0; y < rows; ++y)
        if (!progress.before_row(y) || !make_row(y) ||
            !buf32Line(job.destination, y, line_mode, row))
            return false;
    return true;
}

} // namespace q32::resample
