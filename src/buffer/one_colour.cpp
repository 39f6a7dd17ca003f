// One-colour buffers under locks.
#include "buffer/one_colour.h"

#include "buffer/blocks.h"
#include "buffer/cells.h"
#include "buffer/colour_fill.h"
#include "buffer/failures.h"

#include <algorithm>

namespace q32::buffer {
namespace {

// Under 8 bits the colour is one byte of pixels, written over every byte.
void fill_with_colour(const Record &record, std::byte *memory, uint32_t bytes, size_t pixels) {
    const BUF32INFO &info = record.info;
    fill_pixels(memory, info.colour, colour_bytes(info), info.bits_per_pixel < 8 ? bytes : pixels);
}

void fill_storage(Record &record) {
    const BUF32INFO &info = record.info;
    fill_with_colour(record, record.storage, info.image_bytes,
                     size_t(info.width) * size_t(info.height));
}

bool make_block_if_missing(Record &record) {
    if (record.storage != nullptr)
        return true;
    if (!make_block(record, one_colour_block_bytes(record)))
        return false;
    fill_block(record);
    return true;
}

bool make_ordinary(Record &record, int mode) {
    return put_storage_in_place(record, mode == BUF32_OVERWRITE ? nullptr : fill_storage) ||
           fail(site::one_colour_no_storage);
}

} // namespace

uint32_t one_colour_block_bytes(const Record &record) {
    return std::max(record.row_bytes, record.info.cell_bytes);
}

void fill_block(Record &record) {
    const BUF32INFO &info = record.info;
    const int pixels = std::max(info.width, info.cell_width * info.cell_height);
    fill_with_colour(record, record.storage, one_colour_block_bytes(record), size_t(pixels));
}

int one_colour_lock(Record &record, int mode, void **base) {
    if (is_write_mode(mode)) {
        if (!make_ordinary(record, mode))
            return 0;
    } else {
        if (!make_block_if_missing(record))
            return fail(site::one_colour_no_block);
        // Every read lock hands out a fresh block, whatever an earlier caller wrote into it.
        fill_block(record);
    }
    ++record.info.lock_count;
    record.info.access_mode = mode;
    if (base != nullptr)
        *base = record.storage;
    return 1;
}

int one_colour_unlock(Record &record) {
    if (record.info.lock_count <= 0)
        return fail(site::one_colour_not_locked);
    --record.info.lock_count;
    return 1;
}

int one_colour_cell_lock(Record &record, int index, void **address, BUF32CELL *cell) {
    if (index < 0 || index >= record.info.cell_count)
        return fail(site::one_colour_no_such_cell);
    if (!make_block_if_missing(record))
        return fail(site::one_colour_no_block_for_cell);
    ++record.info.lock_count;
    if (cell != nullptr)
        *cell = describe_cell(record, index);
    if (address != nullptr)
        *address = record.storage;
    return 1;
}

int one_colour_cell_unlock(Record &record, int) {
    if (record.info.lock_count <= 0)
        return fail(site::one_colour_cell_not_locked);
    --record.info.lock_count;
    return 1;
}

void *one_colour_point_address(Record &record, int, int) {
    return record.storage;
}

} // namespace q32::buffer
