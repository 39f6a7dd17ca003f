// The exports of bitmap buffers.
#include "buffer/bitmaps.h"
#include "buffer/failures.h"
#include "buffer/records.h"
#include "buffer/sharing.h"

namespace q32::buffer {
namespace {

// The bitmap record whose pixels may be rearranged, or null.
Record *bitmap_to_rearrange(HBUF32 buffer) {
    Record *const record = record_of(buffer);
    if (record == nullptr || record->info.type != BUF32_DIB || !prepare_for_writing(*record))
        return nullptr;
    return record->storage != nullptr ? record : nullptr;
}

// Makes a bitmap of the buffer's pixels again and gives its block back; null for a bare block and
// for a duplicate without pixels of its own.
HGLOBAL hand_back(Record &record) {
    if (record.storage != nullptr)
        to_bitmap_layout(record);
    const HGLOBAL bitmap = record.info.data_handle;
    if (bitmap != nullptr)
        GlobalUnlock(bitmap);
    return bitmap;
}

int free_bitmap_buffer(Record &record, HGLOBAL *bitmap) {
    // Sharers come first, whatever follows: also when the buffer is locked, or no bitmap, they have
    // pixels of their own afterwards. A duplicate leaves its source only when it really goes: one
    // that stays would have no pixels.
    if (!record.is_duplicate() && !prepare_for_writing(record))
        return 0;
    // A success that frees nothing, by intent: a caller gets 1, keeps the buffer, and sees that its
    // handle has not been written.
    if (record.info.lock_count != 0)
        return 1;
    if (record.info.type != BUF32_DIB)
        return fail(site::not_a_bitmap_buffer);
    if (!leave_sharers_provided(record))
        return 0;
    const HGLOBAL handed_back = hand_back(record);
    if (bitmap != nullptr)
        *bitmap = handed_back;
    return free_record(record);
}

} // namespace
} // namespace q32::buffer

using namespace q32::buffer;

int Q32_CALL buf32DIBBufAlloc(HBUF32 *handle, HGLOBAL bitmap) {
    return allocate_bitmap(handle, bitmap);
}

int Q32_CALL buf32DIBMemBufAlloc(HBUF32 *handle, int bits_per_pixel, int width, int height,
                                 void *pixels) {
    return allocate_bare_bitmap(handle, {bits_per_pixel, width, height}, pixels);
}

int Q32_CALL buf32DIBToDIBBuf(HBUF32 buffer) {
    Record *const record = bitmap_to_rearrange(buffer);
    if (record == nullptr)
        return 0;
    to_buffer_layout(*record);
    return 1;
}

HGLOBAL Q32_CALL buf32DIBBufToDIB(HBUF32 buffer) {
    Record *const record = bitmap_to_rearrange(buffer);
    if (record == nullptr)
        return nullptr;
    to_bitmap_layout(*record);
    return record->info.data_handle;
}

int Q32_CALL buf32DIBBufFree(HBUF32 buffer, HGLOBAL *bitmap) {
    Record *const record = find_live(buffer);
    return record != nullptr ? free_bitmap_buffer(*record, bitmap) : 0;
}
