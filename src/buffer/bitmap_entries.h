// Entries that bitmap buffers have of their own. All others are those of linear buffers.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

int bitmap_fill_one_colour(Record &record, const void *colour);
int bitmap_fill_pattern(Record &record, const BUF32PATTERN *pattern);
int bitmap_duplicate(Record &source, HBUF32 *destination);
int bitmap_get_buffer(Record &source, int x, int y, int width, int height, HBUF32 *destination);

} // namespace q32::buffer
