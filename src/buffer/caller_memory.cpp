// Buffers over caller memory: whatever reads works, whatever writes is refused. buf32MergeBuf is
// refused from them as well, though it would only read: programs know its number 63 so. Another
// buffer merged onto caller memory ends at merge_memory, number 64.
#include "buffer/cells.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/layout.h"
#include "buffer/records.h"

namespace q32::buffer {
namespace {

// The caller's rows.
std::byte *caller_pixels(const Record &record) {
    return reinterpret_cast<std::byte *>(uintptr_t(record.info.colour[1]));
}

} // namespace

bool has_caller_pixels(const void *extra) {
    return extra != nullptr && static_cast<const BUF32MEMORY *>(extra)->pixels != nullptr;
}

// Without room for cell addresses: there are none.
int allocate_over_caller_memory(Record *record, const void *extra, HBUF32 *handle) {
    const auto &memory = *static_cast<const BUF32MEMORY *>(extra);
    compute_cells(*record);
    record->info.colour[0] = memory.first_word;
    record->info.colour[1] = uint32_t(reinterpret_cast<uintptr_t>(memory.pixels));
    return link(*record, handle);
}

bool read_caller_memory(const Record &record, const Area &area, const PlainRows &rows) {
    return read_packed_rows(record, caller_pixels(record), area, rows);
}

int caller_memory_lock(Record &record, int mode, void **base) {
    return is_write_mode(mode) ? 0 : count_lock(record, mode, caller_pixels(record), base);
}

int caller_memory_cell_lock(Record &, int, void **, BUF32CELL *) {
    return 0; // the rows are not in cells
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
