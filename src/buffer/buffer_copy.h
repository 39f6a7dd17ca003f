// The strip copy under the entries that copy rectangles from buffer to buffer.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// Copies the source's area, which lies inside its image, to (x, y) of the destination, by way of
// strips of plain memory. Reports and returns 0 on failure.
int copy_area(Record &source, const Area &area, Record &destination, int x, int y);

} // namespace q32::buffer
