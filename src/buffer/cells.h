// Locks, cells and pixel addresses of ordinary buffers, tiled and linear alike: everything goes by
// the record's cell width and height.
#pragma once

#include "buffer/record.h"
#include "buffer/types.h"

namespace q32::buffer {

constexpr bool is_write_mode(int mode) {
    return mode == BUF32_WRITE || mode == BUF32_WRITE_3 || mode == BUF32_OVERWRITE;
}

BUF32CELL describe_cell(const Record &record, int index);

// Where pixel (x, y) of the image lies.
struct PixelPlace {
    int cell;      // index
    int x_in_cell; // pixels
    int y_in_cell; // rows
    size_t offset; // bytes from the cell's address; under 8 bits to the byte that holds it
};
PixelPlace place_of(const Record &record, int x, int y);
PixelPlace clamped_place_of(const Record &record, int x, int y); // into the image

// --- locks --------------------------------------------------------------------------------------

inline bool has_cell(const Record &record, int index) {
    return index >= 0 && index < record.info.cell_count;
}

// What lock entries do in the end: count, note the mode, store the address where it is wanted.
inline int count_lock(Record &record, int mode, std::byte *storage, void **base) {
    ++record.info.lock_count;
    record.info.access_mode = mode;
    store(base, storage);
    return 1;
}

inline int count_cell_lock(Record &record, int index, std::byte *cell, void **address,
                           BUF32CELL *description) {
    ++record.info.lock_count;
    if (description != nullptr)
        *description = describe_cell(record, index);
    store(address, cell);
    return 1;
}

// All that unlock entries do; the site is reported when nothing is locked.
inline int count_unlock(Record &record, const FailureSite &not_locked) {
    if (record.info.lock_count <= 0)
        return fail(not_locked);
    --record.info.lock_count;
    return 1;
}

// Runs a transfer under a lock of its own. The lock may change the buffer's type and with it the
// table: what unlocks is not always what locked.
template <typename Transfer>
int under_own_lock(Record &record, int mode, const Transfer &transfer) {
    if (mode == BUF32_READ && type_of(record).is_read_without_lock) {
        record.info.access_mode = mode;
        return transfer();
    }
    if (!record.operations.lock(record, mode, nullptr))
        return 0;
    const bool done = transfer();
    return record.operations.unlock(record) && done;
}

// --- addresses ----------------------------------------------------------------------------------

// For buf32PointAddr: the address of pixel (x, y), clamped into the image, by a lock that is given
// back at once. Null without storage.
entry::PointAddress clamped_address;

// The cell's address where others may write pixels without asking: in cells that are the buffer's
// own and nobody else's, while its table has the ordinary entry for taking pixels. Null otherwise:
// they go through the table.
std::byte *own_cell(const Record &record, int index);

// The addresses of all cells of the buffer's owner, where others may read pixels without asking:
// while they lie in cells and its table has the ordinary entry for giving them. Null otherwise:
// they go through the table. Without storage the addresses are null.
std::byte *const *readable_cells(const Record &record);

} // namespace q32::buffer
