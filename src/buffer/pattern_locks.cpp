// Lock and row entries of pattern buffers. Reading never needs storage: locks hand out the block,
// made when first needed and rendered anew every time; rows come from the pattern itself. The first
// write lock makes an ordinary buffer.
#include "buffer/blocks.h"
#include "buffer/cells.h"
#include "buffer/failures.h"
#include "buffer/lines.h"
#include "buffer/pattern.h"

#include <algorithm>

namespace q32::buffer {
namespace {

bool make_block_if_missing(Record &record) {
    return record.storage != nullptr || make_block(record, pattern_block_bytes(record));
}

// Pixels of all cells of new storage, from the pattern that the record still has.
void render_storage(Record &record) {
    for (int index = 0; index < record.info.cell_count; ++index) {
        const BUF32CELL cell = describe_cell(record, index);
        render_pattern(
            record, area_of(cell.x, cell.y, cell.width, cell.height),
            {record.cell_address[index], size_t(cell.row_bytes), 0, unit_bits(record.info)});
    }
}

bool make_ordinary(Record &record, int mode) {
    if (!put_storage_in_place(record, mode == BUF32_OVERWRITE ? nullptr : render_storage))
        return false;
    free_pattern_copy(record);
    std::ranges::fill(record.info.colour, 0);
    return true;
}

} // namespace

int pattern_lock(Record &record, int mode, void **base) {
    if (is_write_mode(mode)) {
        if (!make_ordinary(record, mode))
            return 0;
    } else {
        if (!make_block_if_missing(record))
            return fail(site::no_fill_block);
        render_block(record);
    }
    ++record.info.lock_count;
    record.info.access_mode = mode;
    if (base != nullptr)
        *base = record.storage;
    return 1;
}

int pattern_cell_lock(Record &record, int index, void **address, BUF32CELL *cell) {
    if (index < 0 || index >= record.info.cell_count)
        return fail(site::no_such_cell);
    if (!make_block_if_missing(record))
        return fail(site::no_fill_block);
    ++record.info.lock_count;
    const BUF32CELL rendered = render_cell(record, index);
    if (cell != nullptr)
        *cell = rendered;
    if (address != nullptr)
        *address = record.storage;
    return 1;
}

// Other modes than the reading ones turn the buffer into an ordinary one by their write lock, and
// go on as there.
int pattern_line(Record &record, int row, int mode, void *memory) {
    return is_line_reading(mode, BUF32_LINE_READ_555) ? read_line(record, row, mode, memory)
                                                      : line(record, row, mode, memory);
}

int pattern_line_span(Record &record, void *memory, int mode, int x_start, int x_end, int y) {
    return is_line_reading(mode, BUF32_LINE_READ_565)
               ? read_line_span(record, memory, mode, x_start, x_end, y)
               : line_span(record, memory, mode, x_start, x_end, y);
}

void *pattern_point_address(Record &record, int x, int y) {
    const PixelPlace place = place_of(record, std::clamp(x, 0, record.info.width - 1),
                                      std::clamp(y, 0, record.info.height - 1));
    if (!make_block_if_missing(record))
        return nullptr;
    render_cell(record, place.cell);
    return record.storage + place.offset;
}

} // namespace q32::buffer
