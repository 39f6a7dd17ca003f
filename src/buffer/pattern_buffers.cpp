// Pattern buffers from allocation on, and under locks. Reading never needs storage: locks hand out
// the block, made when first needed and rendered anew every time. The first write lock makes an
// ordinary buffer.
#include "buffer/allocation.h"
#include "buffer/block_storage.h"
#include "buffer/cells.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/layout.h"
#include "buffer/pattern.h"

#include <algorithm>
#include <utility>

namespace q32::buffer {
namespace {

// Pixels of all cells of new storage, from the pattern that the record still has.
void render_storage(Record &record) {
    for (int index = 0; index < record.info.cell_count; ++index)
        render_cell(record, index, record.cell_address[index]);
}

bool make_ordinary(Record &record, int mode) {
    if (!put_storage_in_place(record, mode == BUF32_OVERWRITE ? nullptr : render_storage))
        return false;
    free_pattern_copy(record);
    std::ranges::fill(record.info.colour, 0);
    return true;
}

} // namespace

bool has_pattern(const void *extra) {
    return is_usable(static_cast<const BUF32PATTERN *>(extra));
}

int allocate_pattern(Record *record, const void *extra, HBUF32 *handle) {
    const auto &pattern = *static_cast<const BUF32PATTERN *>(extra);
    RuntimeBlock copy = copy_pattern_pixels(pattern, record->info.bits_per_pixel);
    record = lay_out(record);
    GlobalBlock owned(record);
    if (!copy || !owned)
        return fail(site::no_layout);
    owned.release();
    set_pattern(*record, pattern, std::move(copy));
    return link(*record, handle);
}

// Of one that has lost its pattern's copy a tiled one.
HBUF32 make_of_same_pattern(const Record &record, int width, int height) {
    const BUF32PATTERN pattern = pattern_of(record);
    return is_usable(&pattern) ? make_of_type(record, width, height, BUF32_PATTERN, &pattern)
                               : make_tiled(record, width, height);
}

int pattern_lock(Record &record, int mode, void **base) {
    if (is_write_mode(mode)) {
        if (!make_ordinary(record, mode))
            return 0;
    } else {
        if (!provide_block(record))
            return fail(site::no_fill_block);
        render_block(record);
    }
    return count_lock(record, mode, record.storage, base);
}

int pattern_cell_lock(Record &record, int index, void **address, BUF32CELL *cell) {
    if (!has_cell(record, index))
        return fail(site::no_such_cell);
    if (!provide_block(record))
        return fail(site::no_fill_block);
    render_cell(record, index, record.storage);
    return count_cell_lock(record, index, record.storage, address, cell);
}

void *pattern_point_address(Record &record, int x, int y) {
    const PixelPlace place = clamped_place_of(record, x, y);
    if (!provide_block(record))
        return nullptr;
    render_cell(record, place.cell, record.storage);
    return record.storage + place.offset;
}

} // namespace q32::buffer
