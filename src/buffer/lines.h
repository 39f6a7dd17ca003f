// Rows of pixels between a buffer and plain memory, with conversion on the way.
#pragma once

#include "buffer/record.h"

#include <cstddef>

namespace q32::buffer {

// The whole row y (clamped), in the modes BUF32_LINE_READ to BUF32_LINE_WRITE_555.
int line(Record &record, int y, int mode, void *memory);

// The pixels x_start to x_end - 1 of row y (all clamped), in the modes up to BUF32_LINE_WRITE_565.
// Memory holds them from its first bit on.
int line_span(Record &record, void *memory, int mode, int x_start, int x_end, int y);

// Whether a mode reads, of those up to last_mode.
constexpr bool is_line_reading(int mode, int last_mode) {
    return mode % 2 == 1 && mode >= BUF32_LINE_READ && mode <= last_mode;
}

// What both do in a reading mode, for buffers that need no lock to be read; only what the lock
// leaves behind is the same. 0 when there are no pixels to read or no memory for the stage.
int read_line(Record &record, int y, int mode, void *memory);
int read_line_span(Record &record, void *memory, int mode, int x_start, int x_end, int y);

} // namespace q32::buffer
