// What both row paths have in common: the tables between two buffers, and the walk over the
// destination's rows.
#pragma once

#include "buffer/record.h"
#include "resample/buffer_job.h"
#include "resample/position_tables.h"

#include <q32base/buffers.h>

#include <cstddef>
#include <cstdint>

namespace q32::resample {

// The tables of q32InitResampleTable, with its reports.
bool make_tables(const BufferJob &job, int fraction_mode, PositionTables *tables);

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
