// Buffers over caller memory: whatever reads works, whatever writes is refused. buf32MergeBuf is
// refused from them as well, though it would only read: programs know its number 63 so. Another
// buffer merged onto caller memory ends at merge_memory, number 64.
#include "buffer/caller_memory.h"

#include "buffer/cells.h"
#include "buffer/failures.h"
#include "buffer/lines.h"

namespace q32::buffer {

std::byte *caller_pixels(const Record &record) {
    return reinterpret_cast<std::byte *>(uintptr_t(record.info.colour[1]));
}

int caller_memory_lock(Record &record, int mode, void **base) {
    if (is_write_mode(mode))
        return 0;
    ++record.info.lock_count;
    record.info.access_mode = mode;
    if (base != nullptr)
        *base = caller_pixels(record);
    return 1;
}

int caller_memory_cell_lock(Record &, int, void **, BUF32CELL *) {
    return 0; // the rows are not in cells
}

// Other modes than the reading ones need a write lock, which there is none of.
int caller_memory_line(Record &record, int row, int mode, void *memory) {
    return is_line_reading(mode, BUF32_LINE_READ_555) ? read_line(record, row, mode, memory) : 0;
}

void *caller_memory_point_address(Record &, int, int) {
    fail(site::caller_memory_no_point);
    return nullptr;
}

int caller_memory_fill_one_colour(Record &, const void *) {
    return fail(site::caller_memory_no_fill);
}

int caller_memory_duplicate(Record &, HBUF32 *) {
    return 0;
}

int caller_memory_merge_buffer(Record &, int, int, int, int, Record &, int, int) {
    return fail(site::caller_memory_no_merge_buffer);
}

int caller_memory_merge_memory(Record &, int, int, int, int, const void *) {
    return fail(site::caller_memory_no_merge_memory);
}

} // namespace q32::buffer
