// One-colour buffers from allocation on, and under locks. They have no cells, only a block; the
// first write lock makes an ordinary buffer of them.
#include "buffer/allocation.h"
#include "buffer/block_storage.h"
#include "buffer/cells.h"
#include "buffer/colour_fill.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/layout.h"

#include <algorithm>
#include <cstring>

namespace q32::buffer {
namespace {

// Under 8 bits the colour is one byte of pixels, written over every byte.
void fill_with_colour(const Record &record, std::byte *memory, size_t bytes, size_t pixels) {
    const BUF32INFO &info = record.info;
    fill_pixels(memory, info.colour, colour_bytes(info), info.bits_per_pixel < 8 ? bytes : pixels);
}

void fill_storage(Record &record) {
    const BUF32INFO &info = record.info;
    fill_with_colour(record, record.storage, info.image_bytes,
                     size_t(info.width) * size_t(info.height));
}

bool make_block_if_missing(Record &record) {
    const bool is_missing = record.storage == nullptr;
    if (!provide_block(record))
        return false;
    if (is_missing)
        fill_block(record);
    return true;
}

bool make_ordinary(Record &record, int mode) {
    return put_storage_in_place(record, mode == BUF32_OVERWRITE ? nullptr : fill_storage) ||
           fail(site::one_colour_no_storage);
}

} // namespace

bool has_colour(const void *extra) {
    return extra != nullptr;
}

int allocate_one_colour(Record *record, const void *extra, HBUF32 *handle) {
    std::memcpy(record->info.colour, extra, packed_bytes(1, record->info.bits_per_pixel));
    record = lay_out(record);
    return record != nullptr ? link(*record, handle) : fail(site::no_layout);
}

HBUF32 make_of_same_colour(const Record &record, int width, int height) {
    return make_of_type(record, width, height, BUF32_ONE_COLOUR, record.info.colour);
}

size_t one_colour_block_bytes(const Record &record) {
    return std::max<size_t>(record.row_bytes, record.info.cell_bytes);
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
    return count_lock(record, mode, record.storage, base);
}

int one_colour_unlock(Record &record) {
    return count_unlock(record, site::one_colour_not_locked);
}

int one_colour_cell_lock(Record &record, int index, void **address, BUF32CELL *cell) {
    if (!has_cell(record, index))
        return fail(site::one_colour_no_such_cell);
    if (!make_block_if_missing(record))
        return fail(site::one_colour_no_block_for_cell);
    return count_cell_lock(record, index, record.storage, address, cell);
}

int one_colour_cell_unlock(Record &record, int) {
    return count_unlock(record, site::one_colour_cell_not_locked);
}

void *one_colour_point_address(Record &record, int, int) {
    return record.storage;
}

} // namespace q32::buffer
