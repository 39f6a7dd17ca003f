// Buffers over caller memory, as their row knows them.
#pragma once

#include "buffer/pixels.h"

namespace q32::buffer {

bool has_caller_pixels(const void *extra);
int allocate_over_caller_memory(Record *record, const void *extra, HBUF32 *handle);
PixelReader read_caller_memory;

} // namespace q32::buffer
