// Making, listing and freeing of buffer records, and the exports that read the list of live ones.
#include "buffer/records.h"

#include "buffer/buffer_manager.h"
#include "buffer/failures.h"
#include "buffer/types.h"
#include "library/process/owners.h"

namespace q32::buffer {
namespace {

// --- the list of live buffers -------------------------------------------------------------------

Record *head = nullptr;
Record *tail = nullptr;

void append_to_list(Record &record) {
    record.previous = tail;
    record.next = nullptr;
    (tail != nullptr ? tail->next : head) = &record;
    tail = &record;
}

void remove_from_list(Record &record) {
    if (record.previous != nullptr)
        record.previous->next = record.next;
    if (record.next != nullptr)
        record.next->previous = record.previous;
    if (head == &record)
        head = record.next;
    if (tail == &record)
        tail = record.previous;
}

bool is_accessible(Record &record) {
    return IsBadReadPtr(&record.info, sizeof record.info) == 0 &&
           IsBadWritePtr(&record.info, sizeof record.info) == 0;
}

void unlock_all(Record &record) {
    while (record.info.lock_count > 0 && record.operations.unlock(record)) {
    }
}

template <typename Condition>
void free_where(Condition condition) {
    for (Record *record = head; record != nullptr;) {
        Record *const next = record->next;
        if (condition(*record)) {
            unlock_all(*record);
            buf32Free(handle_of(*record));
        }
        record = next;
    }
}

} // namespace

bool are_sides_within_limit(const Geometry &geometry) {
    if (geometry.width > Q32_MAX_SIDE)
        return fail(site::too_wide);
    if (geometry.height > Q32_MAX_SIDE)
        return fail(site::too_high);
    return true;
}

bool is_valid(const Geometry &geometry) {
    constexpr int most_bits_per_pixel = 64;
    return geometry.width >= 1 && geometry.height >= 1 && geometry.bits_per_pixel >= 1 &&
           geometry.bits_per_pixel <= most_bits_per_pixel;
}

Record *make_record(uint32_t type, const Geometry &geometry) {
    Record *const record = global_alloc<Record>(GMEM_ZEROINIT, sizeof(Record));
    if (record == nullptr)
        return nullptr;
    BUF32INFO &info = record->info;
    info.type = type;
    info.bits_per_pixel = geometry.bits_per_pixel;
    info.bytes_per_pixel = geometry.bits_per_pixel / 8;
    info.width = geometry.width;
    info.height = geometry.height;
    // Always the height, whatever the caller's extra argument says: a buffer never grows beyond its
    // allocated height. Programs count on buf32ReAlloc refusing more.
    info.capacity_rows = geometry.height;
    record->row_bytes = packed_bytes(geometry.width, geometry.bits_per_pixel);
    info.image_bytes = bytes_of_rows(geometry.height, record->row_bytes);
    info.reserved_bytes = bytes_of_rows(info.capacity_rows, record->row_bytes);
    info.one_colour = record->is_one_colour() ? 1 : 0;
    info.access_mode = BUF32_READ;
    record->record_entry = no_record_entry;
    record->sharing.self = record;
    record->operations = *type_of(type).operations;
    return record;
}

int link(Record &record, HBUF32 *handle) {
    append_to_list(record);
    *handle = handle_of(record);
    return 1;
}

int free_record(Record &record) {
    if (record.is_freed())
        return fail(site::already_freed);
    remove_from_list(record);
    record.info.type = freed_type;
    GlobalFree(&record);
    return 1;
}

Record *find_live(HBUF32 handle) {
    for (Record *record = head; record != nullptr; record = record->next)
        if (handle_of(*record) == handle)
            return is_accessible(*record) && !record->is_freed() ? record : nullptr;
    return nullptr;
}

// Duplicates first: nobody's pixels have to be saved for buffers that go as well.
void free_all() {
    free_where([](const Record &record) { return record.is_duplicate(); });
    free_where([](const Record &) { return true; });
}

} // namespace q32::buffer

using namespace q32::buffer;

int Q32_CALL buf32GetInfo(HBUF32 buffer, BUF32INFO *info) {
    const Record *const record = find_live(buffer);
    if (record == nullptr)
        return 0;
    if (info != nullptr) {
        *info = record->info;
        if (type_of(*record).is_told_as_tiled)
            info->type = BUF32_TILED;
    }
    return 1;
}

int Q32_CALL buf32GetWHU(HBUF32 buffer, int *width, int *height, int *bytes_per_pixel) {
    const Record *const record = find_live(buffer);
    if (record == nullptr)
        return 0;
    store(width, record->info.width);
    store(height, record->info.height);
    store(bytes_per_pixel, record->info.bytes_per_pixel);
    return 1;
}

int Q32_CALL IsBufClean(void) {
    return 0;
}

int Q32_CALL buf32CountBuf(HBUF32 *handles) {
    int count = 0;
    for (const Record *record = head; record != nullptr; record = record->next, ++count)
        if (handles != nullptr)
            handles[count] = handle_of(*record);
    return count;
}
