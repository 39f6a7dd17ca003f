// Buffers over caller memory: whatever reads works. What is refused, types.cpp says.
#include "buffer/cells.h"
#include "buffer/entries.h"
#include "buffer/layout.h"
#include "buffer/records.h"

namespace q32::buffer {
namespace {

// The caller's rows.
std::byte *caller_pixels(const Record &record) {
    return reinterpret_cast<std::byte *>(record.info.colour[1]);
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
    record->info.colour[1] = reinterpret_cast<uintptr_t>(memory.pixels);
    return link(*record, handle);
}

bool read_caller_memory(const Record &record, const Area &area, const PlainRows &rows) {
    return read_packed_rows(record, caller_pixels(record), area, rows);
}

int caller_memory_lock(Record &record, int mode, void **base) {
    return is_write_mode(mode) ? 0 : count_lock(record, mode, caller_pixels(record), base);
}

} // namespace q32::buffer
