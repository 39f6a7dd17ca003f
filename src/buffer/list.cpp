// The list of live buffers and the exports that read it.
#include "buffer/records.h"

#include "buffer/buffer_manager.h"
#include "buffer/types.h"

namespace q32::buffer {
namespace {

Record *head = nullptr;
Record *tail = nullptr;

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

void append_to_list(Record &record) {
    record.previous = tail;
    record.next = nullptr;
    if (tail != nullptr)
        tail->next = &record;
    else
        head = &record;
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
