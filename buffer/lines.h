// Rows of pixels between a buffer and plain memory, with conversion on the way.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// The whole row y (clamped), in the modes BUF32_LINE_READ to BUF32_LINE_WRITE_555.
int line(Record &record, int y, int mode, void *memory);

// The pixels x_start to x_end - 1 of row y (all clamped), in the modes up to BUF32_LINE_WRITE_565.
// Memory holds them from its first bit on.
int line_span(Record &record, void *memory, int mode, int x_start, int x_end, int y);

} // namespace q32::buffer
