// Life of a buffer as the library's own code sees it. Who holds a handle of a program's goes
// through the exports.
#pragma once

#include "buffer/records.h"

namespace q32::buffer {

// What buf32Alloc does.
int allocate_buffer(HBUF32 *handle, const Geometry &geometry, uint32_t type, const void *extra);

// What buf32Free does with a live buffer.
int free_buffer(Record &record);

// Makes an ordinary buffer of a fresh record.
int allocate_ordinary(Record *record, const void *extra, HBUF32 *handle);

// Buffers of a record's depth: of its type, or of another, with what buf32Alloc wants to know for
// it. 0 after a report.
HBUF32 make_of_type(const Record &record, int width, int height, uint32_t type, const void *extra);
HBUF32 make_of_same_type(const Record &record, int width, int height);
HBUF32 make_tiled(const Record &record, int width, int height);

} // namespace q32::buffer
