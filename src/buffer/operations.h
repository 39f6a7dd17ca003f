// The operation table of a buffer: sixteen entries through which the exports reach what the
// buffer's type does. Each type installs its own set at allocation, and again whenever its type
// changes. A type that cannot do an operation installs an entry that refuses it; an empty entry is
// refused by the export.
#pragma once

#include <q32base/buffers.h>

#include <cstdint>

namespace q32::buffer {

struct Record;

struct Operations {
    int (*lock)(Record &, int mode, void **base);
    int (*cell_lock)(Record &, int index, void **address, BUF32CELL *cell);
    int (*cell_unlock)(Record &, int index);
    int (*line)(Record &, int row, int mode, void *memory);
    void *(*point_address)(Record &, int x, int y);
    int (*unlock)(Record &);
    int (*fill_one_colour)(Record &, const void *colour);
    int (*duplicate)(Record &, HBUF32 *destination);
    int (*get_buffer)(Record &, int x, int y, int width, int height, HBUF32 *destination);
    int (*merge_buffer)(Record &, int x, int y, int width, int height, Record &destination,
                        int destination_x, int destination_y);
    int (*get_memory)(Record &, int x, int y, int width, int height, void *memory);
    int (*get_memory_with_background)(Record &, int x, int y, int width, int height, void *memory,
                                      const void *background);
    int (*merge_memory)(Record &, int x, int y, int width, int height, const void *memory);
    void *empty_slot; // left empty by every type
    int (*line_span)(Record &, void *memory, int mode, int x_start, int x_end, int y);
    int (*fill_pattern)(Record &, const BUF32PATTERN *pattern);
};

static_assert(sizeof(Operations) == 16 * sizeof(void *));

// The set for a buffer type.
const Operations &operations_for(uint32_t type);

} // namespace q32::buffer
