// One-colour buffers under locks.
#include "buffer/one_colour.h"

#include "buffer/cells.h"
#include "buffer/colour_fill.h"
#include "buffer/failures.h"
#include "buffer/layout.h"
#include "buffer/storage.h"

#include <algorithm>

namespace q32::buffer {
namespace {

// Under 8 bits the colour is one byte of pixels, written over every byte.
void fill_with_colour(const Record &record, std::byte *memory, uint32_t bytes, size_t pixels) {
    const BUF32INFO &info = record.info;
    fill_pixels(memory, info.colour, colour_bytes(info), info.bits_per_pixel < 8 ? bytes : pixels);
}

void fill_block(const Record &record) {
    const BUF32INFO &info = record.info;
    const int pixels = std::max(info.width, info.cell_width * info.cell_height);
    fill_with_colour(record, record.storage, one_colour_block_bytes(record), size_t(pixels));
}

bool make_block_if_missing(Record &record) {
    if (record.storage != nullptr)
        return true;
    record.storage = allocate_block(one_colour_block_bytes(record));
    if (record.storage == nullptr)
        return false;
    record.cell_address[0] = record.storage;
    fill_block(record);
    return true;
}

// Full storage in place of the block. The block goes last, so that a failure changes nothing.
bool make_ordinary(Record &record, int mode) {
    std::byte *const block = record.storage;
    const uint32_t block_bytes = one_colour_block_bytes(record);
    const uint32_t old_type = record.info.type;

    record.storage = nullptr;
    if (!allocate_storage(record)) {
        record.storage = block;
        return fail(site::one_colour_no_storage);
    }
    record.info.type = BUF32_TILED;
    record.info.one_colour = 0;
    if (!build_cell_addresses(record)) {
        release_storage(record, record.info.reserved_bytes);
        record.storage = record.cell_address[0] = block;
        record.info.type = old_type;
        record.info.one_colour = 1;
        return false;
    }
    if (block != nullptr)
        release_block(block, block_bytes);
    if (mode != BUF32_OVERWRITE)
        fill_with_colour(record, record.storage, record.info.image_bytes,
                         size_t(record.info.width) * size_t(record.info.height));
    record.operations = operations_for(record.info.type);
    return true;
}

} // namespace

uint32_t one_colour_block_bytes(const Record &record) {
    return std::max(record.row_bytes, record.info.cell_bytes);
}

uint32_t block_or_reserved_bytes(const Record &record) {
    return record.info.type == BUF32_ONE_COLOUR ? one_colour_block_bytes(record)
                                                : record.info.reserved_bytes;
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
