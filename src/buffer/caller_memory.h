// Entries of buffers over caller memory: they can be read, and refuse whatever writes.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// The caller's rows.
std::byte *caller_pixels(const Record &record);

int caller_memory_lock(Record &record, int mode, void **base);
int caller_memory_cell_lock(Record &record, int index, void **address, BUF32CELL *cell);
int caller_memory_line(Record &record, int row, int mode, void *memory);
void *caller_memory_point_address(Record &record, int x, int y);
int caller_memory_fill_one_colour(Record &record, const void *colour);
int caller_memory_duplicate(Record &source, HBUF32 *destination);
int caller_memory_merge_buffer(Record &source, int x, int y, int width, int height,
                               Record &destination, int destination_x, int destination_y);
int caller_memory_merge_memory(Record &record, int x, int y, int width, int height,
                               const void *memory);

} // namespace q32::buffer
