// Entries that copy rectangles from buffer to buffer, and the strip copy under them.
#pragma once

#include "buffer/area.h"
#include "buffer/record.h"

namespace q32::buffer {

// Copies the source's area, which lies inside its image, to (x, y) of the destination, by way of
// strips of plain memory. Reports and returns 0 on failure.
int copy_area(Record &source, const Area &area, Record &destination, int x, int y);

int get_buffer(Record &source, int x, int y, int width, int height, HBUF32 *destination);
int merge_buffer(Record &source, int x, int y, int width, int height, Record &destination,
                 int destination_x, int destination_y);

int one_colour_get_buffer(Record &source, int x, int y, int width, int height, HBUF32 *destination);
int one_colour_merge_buffer(Record &source, int x, int y, int width, int height,
                            Record &destination, int destination_x, int destination_y);

} // namespace q32::buffer
