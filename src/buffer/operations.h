// The operation table of a buffer: sixteen entries through which the exports reach what the
// buffer's type does. Each type installs its own set at allocation, and again whenever its type
// changes. A type that cannot do an operation installs an entry that refuses it; an empty entry is
// refused by the export.
#pragma once

#include <q32base/buffers.h>

#include <cstdint>

namespace q32::buffer {

struct Record;

// What each slot calls; entries.h declares the entries by these.
namespace entry {

using Lock = int(Record &, int mode, void **base);
using CellLock = int(Record &, int index, void **address, BUF32CELL *cell);
using CellUnlock = int(Record &, int index);
using Line = int(Record &, int row, int mode, void *memory);
using PointAddress = void *(Record &, int x, int y);
using Unlock = int(Record &);
using FillOneColour = int(Record &, const void *colour);
using Duplicate = int(Record &, HBUF32 *destination);
using GetBuffer = int(Record &, int x, int y, int width, int height, HBUF32 *destination);
using MergeBuffer = int(Record &, int x, int y, int width, int height, Record &destination,
                        int destination_x, int destination_y);
using GetMemory = int(Record &, int x, int y, int width, int height, void *memory);
using GetMemoryWithBackground = int(Record &, int x, int y, int width, int height, void *memory,
                                    const void *background);
using MergeMemory = int(Record &, int x, int y, int width, int height, const void *memory);
using LineSpan = int(Record &, void *memory, int mode, int x_start, int x_end, int y);
using FillPattern = int(Record &, const BUF32PATTERN *pattern);

} // namespace entry

struct Operations {
    entry::Lock *lock;
    entry::CellLock *cell_lock;
    entry::CellUnlock *cell_unlock;
    entry::Line *line;
    entry::PointAddress *point_address;
    entry::Unlock *unlock;
    entry::FillOneColour *fill_one_colour;
    entry::Duplicate *duplicate;
    entry::GetBuffer *get_buffer;
    entry::MergeBuffer *merge_buffer;
    entry::GetMemory *get_memory;
    entry::GetMemoryWithBackground *get_memory_with_background;
    entry::MergeMemory *merge_memory;
    void *empty_slot; // left empty by every type
    entry::LineSpan *line_span;
    entry::FillPattern *fill_pattern;
};

static_assert(sizeof(Operations) == 16 * sizeof(void *));

} // namespace q32::buffer
