// Life of a buffer: buf32Alloc, buf32ReAlloc, buf32Free. Layout, storage and the list are their own
// files' business.
#include "buffer/bitmaps.h"
#include "buffer/blocks.h"
#include "buffer/failures.h"
#include "buffer/layout.h"
#include "buffer/list.h"
#include "buffer/pattern.h"
#include "buffer/records.h"
#include "buffer/sharing.h"
#include "buffer/storage.h"
#include "library/process/owners.h"

#include <cstring>

namespace q32::buffer {
namespace {

// What the caller asked for.
struct Request {
    Geometry geometry;
    uint32_t type;
    const void *extra;
};

// A library that is this short of memory refuses early, while the program can still save its work.
bool memory_is_left() {
    constexpr SIZE_T probe_bytes = 0x20000;
    return bool(GlobalBlock(GlobalAlloc(GMEM_MOVEABLE, probe_bytes)));
}

bool has_extra(const Request &request) {
    if (request.type & BUF32_ONE_COLOUR)
        return request.extra != nullptr;
    if (request.type == BUF32_CALLER_MEMORY)
        return request.extra != nullptr &&
               static_cast<const BUF32MEMORY *>(request.extra)->pixels != nullptr;
    if (request.type == BUF32_PATTERN)
        return is_usable(static_cast<const BUF32PATTERN *>(request.extra));
    return true;
}

int allocate_one_colour(Record *record, const Request &request, HBUF32 *handle) {
    std::memcpy(record->info.colour, request.extra, packed_bytes(1, record->info.bits_per_pixel));
    record = lay_out(record);
    if (record == nullptr)
        return fail(site::no_layout);
    return link(*record, handle);
}

int allocate_over_caller_memory(Record *record, const Request &request, HBUF32 *handle) {
    const auto &memory = *static_cast<const BUF32MEMORY *>(request.extra);
    compute_cells(*record);
    record->info.colour[0] = memory.first_word;
    record->info.colour[1] = uint32_t(reinterpret_cast<uintptr_t>(memory.pixels));
    return link(*record, handle);
}

int allocate_pattern(Record *record, const Request &request, HBUF32 *handle) {
    const auto &pattern = *static_cast<const BUF32PATTERN *>(request.extra);
    PatternCopy copy(copy_pattern_pixels(pattern, record->info.bits_per_pixel));
    record = lay_out(record);
    GlobalBlock owned(record);
    if (!copy || !owned)
        return fail(site::no_layout);
    owned.release();
    set_pattern(*record, pattern, copy.release());
    return link(*record, handle);
}

int allocate_ordinary(Record *record, HBUF32 *handle) {
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

int allocate(const Request &request, HBUF32 *handle) {
    if (!memory_is_left())
        return fail(site::no_record);
    if (!are_sides_within_limit(request.geometry))
        return 0;
    if (request.type == BUF32_DIB)
        return allocate_bitmap(handle, const_cast<void *>(request.extra));
    if (handle == nullptr || !is_valid(request.geometry))
        return fail(site::bad_geometry);
    if (!has_extra(request))
        return fail(site::no_extra);

    Record *const record = make_record(request.type, request.geometry);
    if (record == nullptr)
        return fail(site::no_record);
    if (record->is_one_colour())
        return allocate_one_colour(record, request, handle);
    switch (request.type) {
    case BUF32_PATTERN:
        return allocate_pattern(record, request, handle);
    case BUF32_CALLER_MEMORY:
        return allocate_over_caller_memory(record, request, handle);
    default:
        return allocate_ordinary(record, handle);
    }
}

void release_pixels(Record &record) {
    if (record.info.type == BUF32_DIB)
        release_bitmap(record);
    else
        release_storage(record, block_or_reserved_bytes(record));
}

int free_buffer(Record &record) {
    if (record.info.type == BUF32_CALLER_MEMORY)
        return free_record(record);
    // Before the lock is looked at: a refused free of a locked pattern buffer still loses its
    // pattern. Required as it stands; such a buffer reads as zero afterwards.
    if (record.info.type == BUF32_PATTERN)
        free_pattern_copy(record);
    if (record.info.lock_count != 0)
        return fail(site::freeing_locked);
    if (!leave_sharers_provided(record))
        return 0;
    release_pixels(record);
    return free_record(record);
}

bool has_changeable_height(const Record &record) {
    return (record.info.type & (BUF32_LINEAR_MEMORY | BUF32_LINEAR_SHRINK)) != 0;
}

// Whole pages only, so that every kept row keeps its pixels.
bool decommit_rows(const Record &record, uint32_t kept_bytes) {
    constexpr uint32_t page = 4096;
    const uint32_t begin = (kept_bytes + page - 1) & ~(page - 1);
    const uint32_t end = record.info.image_bytes;
    return begin >= end || VirtualFree(record.storage + begin, end - begin, MEM_DECOMMIT) != 0;
}

bool commit_rows(const Record &record, uint32_t bytes) {
    return VirtualAlloc(record.storage, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

int change_height(Record &record, int rows) {
    if (!has_changeable_height(record) || rows < 1 || rows > record.info.capacity_rows)
        return fail(site::cannot_change_height);
    if (!prepare_for_writing(record))
        return 0;
    const uint32_t bytes = bytes_of_rows(rows, record.row_bytes);
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
} // namespace q32::buffer

using namespace q32::buffer;

int Q32_CALL buf32Alloc(HBUF32 *handle, int bits_per_pixel, int width, int height, uint32_t type,
                        const void *extra) {
    return allocate({{bits_per_pixel, width, height}, type, extra}, handle);
}

int Q32_CALL buf32Free(HBUF32 buffer) {
    Record *const record = find_live(buffer);
    return record != nullptr ? free_buffer(*record) : 0;
}

int Q32_CALL buf32ReAlloc(HBUF32 buffer, int rows) {
    Record *const record = record_of(buffer);
    return record != nullptr ? change_height(*record, rows) : 0;
}
