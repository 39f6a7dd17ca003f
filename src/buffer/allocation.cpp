// Life of a buffer: buf32Alloc, buf32ReAlloc, buf32Free. What is special about a type is its row's
// part; layout, storage and the list are their own files'.
#include "buffer/allocation.h"

#include "buffer/failures.h"
#include "buffer/layout.h"
#include "buffer/records.h"
#include "buffer/sharing.h"
#include "buffer/storage.h"
#include "buffer/types.h"
#include "library/process/owners.h"

namespace q32::buffer {
namespace {

// A library that is this short of memory refuses early, while the program can still save its work.
bool memory_is_left() {
    constexpr SIZE_T probe_bytes = 0x20000;
    return bool(GlobalBlock(GlobalAlloc(GMEM_MOVEABLE, probe_bytes)));
}

// Whole pages only, so that every kept row keeps its pixels.
bool decommit_rows(const Record &record, size_t kept_bytes) {
    constexpr size_t page = 4096;
    const size_t begin = (kept_bytes + page - 1) & ~(page - 1);
    const size_t end = record.info.image_bytes;
    return begin >= end || VirtualFree(record.storage + begin, end - begin, MEM_DECOMMIT) != 0;
}

bool commit_rows(const Record &record, size_t bytes) {
    return VirtualAlloc(record.storage, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

int change_height(Record &record, int rows) {
    if (!record.has_changeable_height() || rows < 1 || rows > record.info.capacity_rows)
        return fail(site::cannot_change_height);
    if (!prepare_for_writing(record))
        return 0;
    const size_t bytes = bytes_of_rows(rows, record.row_bytes);
    if (record.storage != nullptr && !record.is_file_backed()) {
        const bool done =
            rows < record.info.height ? decommit_rows(record, bytes) : commit_rows(record, bytes);
        if (!done)
            return 0;
    }
    set_linear_height(record, rows);
    return 1;
}

} // namespace

int allocate_buffer(HBUF32 *handle, const Geometry &geometry, uint32_t type, const void *extra) {
    if (!memory_is_left())
        return fail(site::no_record);
    if (!are_sides_within_limit(geometry))
        return 0;
    const BufferType &row = type_of(type);
    if (row.allocate_over != nullptr)
        return row.allocate_over(handle, const_cast<void *>(extra));
    if (handle == nullptr || !is_valid(geometry))
        return fail(site::bad_geometry);
    // A buffer of the type that marks freed ones would be none from the start: listed for ever.
    if (!row.has_extra(extra) || type == freed_type)
        return fail(site::no_extra);
    Record *const record = make_record(type, geometry);
    return record != nullptr ? row.allocate(record, extra, handle) : fail(site::no_record);
}

int allocate_ordinary(Record *record, const void *, HBUF32 *handle) {
    record = lay_out(record);
    if (record == nullptr)
        return fail(site::no_record);
    GlobalBlock owned(record);
    if (!allocate_storage(*record))
        return 0;
    if (!build_cell_addresses(*record)) {
        release_storage(*record, record->info.reserved_bytes);
        return 0;
    }
    owned.release();
    return link(*record, handle);
}

HBUF32 make_of_type(const Record &record, int width, int height, uint32_t type, const void *extra) {
    HBUF32 made = 0;
    return allocate_buffer(&made, {record.info.bits_per_pixel, width, height}, type, extra) ? made
                                                                                            : 0;
}

HBUF32 make_of_same_type(const Record &record, int width, int height) {
    return make_of_type(record, width, height, record.info.type, nullptr);
}

HBUF32 make_tiled(const Record &record, int width, int height) {
    return make_of_type(record, width, height, BUF32_TILED, nullptr);
}

int free_buffer(Record &record) {
    const BufferType &type = type_of(record);
    if (type.is_freed_under_lock)
        return free_record(record);
    // Before the lock is looked at: a refused free of a locked pattern buffer still loses its
    // pattern. Required as it stands; such a buffer reads as zero afterwards.
    type.release_extra(record);
    if (record.info.lock_count != 0)
        return fail(site::freeing_locked);
    if (!leave_sharers_provided(record))
        return 0;
    type.release_pixels(record);
    return free_record(record);
}

} // namespace q32::buffer

using namespace q32::buffer;

int Q32_CALL buf32Alloc(HBUF32 *handle, int bits_per_pixel, int width, int height, uint32_t type,
                        const void *extra) {
    return allocate_buffer(handle, {bits_per_pixel, width, height}, type, extra);
}

int Q32_CALL buf32Free(HBUF32 buffer) {
    Record *const record = find_live(buffer);
    return record != nullptr ? free_buffer(*record) : 0;
}

int Q32_CALL buf32ReAlloc(HBUF32 buffer, int rows) {
    Record *const record = record_of(buffer);
    return record != nullptr ? change_height(*record, rows) : 0;
}
