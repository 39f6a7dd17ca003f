// Locks, cell locks and pixel addresses, and their exports.
#include "buffer/cells.h"

#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/sharing.h"

#include <algorithm>

namespace q32::buffer {
namespace {

// Cell locks are for writing after a whole-buffer lock in mode 2 or 3. Mode 4 does not make them
// so. Required: after a lock in mode 4 has been given back and the buffer been duplicated, a caller
// sees the duplicate's pixels change with what he writes into a locked cell.
bool cell_locks_write(const Record &record) {
    const int mode = record.info.access_mode;
    return mode == BUF32_WRITE || mode == BUF32_WRITE_3;
}

// A cell's address, found by a lock that is given back at once. Null without storage.
std::byte *find_cell(Record &record, int index) {
    void *address = nullptr;
    if (!record.operations.cell_lock(record, index, &address, nullptr))
        return nullptr;
    record.operations.cell_unlock(record, index);
    return static_cast<std::byte *>(address);
}

} // namespace

BUF32CELL describe_cell(const Record &record, int index) {
    const BUF32INFO &info = record.info;
    const int column = index % info.cell_columns;
    const int band = index / info.cell_columns;
    BUF32CELL cell;
    cell.index = index;
    cell.x = column * info.cell_width;
    cell.y = band * info.cell_height;
    cell.width = column == info.cell_columns - 1 ? info.last_column_width : info.cell_width;
    cell.height = band == info.cell_rows - 1 ? info.last_row_height : info.cell_height;
    cell.bits_per_pixel = info.bits_per_pixel;
    cell.bytes_per_pixel = info.bytes_per_pixel;
    cell.row_bytes = int32_t(packed_bytes(cell.width, info.bits_per_pixel));
    cell.bytes = size_t(cell.height) * size_t(cell.row_bytes);
    cell.pixels = cell.width * cell.height;
    return cell;
}

PixelPlace place_of(const Record &record, int x, int y) {
    const BUF32INFO &info = record.info;
    const int column = x / info.cell_width;
    const int band = y / info.cell_height;
    PixelPlace place;
    place.cell = band * info.cell_columns + column;
    place.x_in_cell = x % info.cell_width;
    place.y_in_cell = y % info.cell_height;
    const uint32_t row_step =
        column == info.cell_columns - 1 ? record.last_column_row_bytes : record.cell_row_bytes;
    place.offset = uint32_t(info.bits_per_pixel) * uint32_t(place.x_in_cell) / 8 +
                   size_t(row_step) * uint32_t(place.y_in_cell);
    return place;
}

PixelPlace clamped_place_of(const Record &record, int x, int y) {
    return place_of(record, std::clamp(x, 0, record.info.width - 1),
                    std::clamp(y, 0, record.info.height - 1));
}

int lock(Record &record, int mode, void **base) {
    if (is_write_mode(mode) && !prepare_for_writing(record))
        return 0;
    return count_lock(record, mode, record.owner().storage, base);
}

int unlock(Record &record) {
    return count_unlock(record, site::not_locked);
}

int cell_lock(Record &record, int index, void **address, BUF32CELL *cell) {
    if (!has_cell(record, index))
        return fail(site::no_such_cell);
    if (cell_locks_write(record) && !prepare_for_writing(record))
        return 0;
    return count_cell_lock(record, index, record.owner().cell_address[index], address, cell);
}

int cell_unlock(Record &record, int) {
    return count_unlock(record, site::cell_not_locked);
}

void *point_address(Record &record, int x, int y) {
    const PixelPlace place = clamped_place_of(record, x, y);
    std::byte *const cell = record.owner().cell_address[place.cell];
    return cell != nullptr ? cell + place.offset : nullptr;
}

std::byte *own_cell(const Record &record, int index) {
    const bool is_own = record.operations.merge_memory == merge_memory && !record.is_duplicate() &&
                        record.first_sharer == nullptr;
    return is_own ? record.cell_address[index] : nullptr;
}

std::byte *const *readable_cells(const Record &record) {
    const bool are_in_cells =
        record.operations.get_memory == get_memory && type_of(record).read == read_cells;
    return are_in_cells ? record.owner().cell_address : nullptr;
}

void *clamped_address(Record &record, int x, int y) {
    const PixelPlace place = clamped_place_of(record, x, y);
    std::byte *const cell = find_cell(record, place.cell);
    return cell != nullptr ? cell + place.offset : nullptr;
}

} // namespace q32::buffer

using namespace q32::buffer;
namespace site = q32::buffer::site;

int Q32_CALL buf32Lock(HBUF32 buffer, int mode, void **base) {
    store(base, nullptr);
    Record *const record = record_of(buffer);
    return record != nullptr ? record->operations.lock(*record, mode, base) : 0;
}

int Q32_CALL buf32Unlock(HBUF32 buffer) {
    Record *const record = record_of(buffer);
    return record != nullptr ? record->operations.unlock(*record) : 0;
}

int Q32_CALL buf32CellLock(HBUF32 buffer, int index, void **address, BUF32CELL *cell) {
    store(address, nullptr);
    Record *const record = record_of(buffer);
    return record != nullptr ? record->operations.cell_lock(*record, index, address, cell) : 0;
}

int Q32_CALL buf32CellUnlock(HBUF32 buffer, int index) {
    Record *const record = record_of(buffer);
    return record != nullptr ? record->operations.cell_unlock(*record, index) : 0;
}

void *Q32_CALL buf32PointAddr(HBUF32 buffer, int x, int y) {
    Record *const record = record_of(buffer);
    void *const address = record != nullptr ? type_of(*record).address(*record, x, y) : nullptr;
    if (address == nullptr)
        q32::fail(record != nullptr ? *type_of(*record).no_address : site::point_of_nothing);
    return address;
}

int Q32_CALL buf32PointAddEx(HBUF32 buffer, int x, int y, void **cell_address, void **pixel_address,
                             int *x_in_cell, int *y_in_cell) {
    Record *const record = record_of(buffer);
    if (record == nullptr || x < 0 || y < 0 || x >= record->info.width || y >= record->info.height)
        return -1;
    const PixelPlace place = place_of(*record, x, y);
    std::byte *const cell = find_cell(*record, place.cell);
    if (cell == nullptr)
        return -1;
    store(cell_address, cell);
    store(pixel_address, cell + place.offset);
    store(x_in_cell, place.x_in_cell);
    store(y_in_cell, place.y_in_cell);
    return place.cell;
}
