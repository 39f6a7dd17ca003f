// Works out the cells of a buffer. Knows geometry only; storage is handed in.
#include "buffer/layout.h"

#include "buffer/failures.h"
#include "buffer/types.h"
#include "library/process/owners.h"

#include <algorithm>
#include <cstring>

namespace q32::buffer {
namespace {

constexpr int quotient_rounded_up(int dividend, int divisor) {
    return (dividend + divisor - 1) / divisor;
}

void compute_tiles(Record &record) {
    BUF32INFO &info = record.info;
    info.cell_width = std::min(info.width, largest_cell_side);
    info.cell_height = std::min(info.height, largest_cell_side);
    info.cell_columns = quotient_rounded_up(info.width, info.cell_width);
    info.cell_rows = quotient_rounded_up(info.height, info.cell_height);
    info.cell_count = info.cell_columns * info.cell_rows;
    info.last_column_width = info.width - (info.cell_columns - 1) * info.cell_width;
    info.last_row_height = info.height - (info.cell_rows - 1) * info.cell_height;

    record.cell_row_bytes = packed_bytes(info.cell_width, info.bits_per_pixel);
    record.last_column_row_bytes = packed_bytes(info.last_column_width, info.bits_per_pixel);
    info.cell_bytes = bytes_of_rows(info.cell_height, record.cell_row_bytes);
    record.last_column_cell_bytes = bytes_of_rows(info.cell_height, record.last_column_row_bytes);
    record.last_row_cell_bytes = bytes_of_rows(info.last_row_height, record.cell_row_bytes);
    record.corner_cell_bytes = bytes_of_rows(info.last_row_height, record.last_column_row_bytes);
    info.band_bytes =
        size_t(info.cell_columns - 1) * info.cell_bytes + record.last_column_cell_bytes;
}

void compute_single_cell(Record &record) {
    BUF32INFO &info = record.info;
    info.cell_count = info.cell_columns = info.cell_rows = 1;
    info.cell_width = info.last_column_width = info.width;
    set_linear_height(record, info.height);
}

size_t address_count(const Record &record) {
    return size_t(type_of(record).has_address_per_row ? record.info.height
                                                      : record.info.cell_count);
}

} // namespace

void compute_cells(Record &record) {
    if (record.is_linear())
        compute_single_cell(record);
    else
        compute_tiles(record);
}

Record *make_room_for_addresses(Record *record) {
    const GlobalBlock old(record);
    constexpr size_t base_bytes = offsetof(Record, cell_address);
    const size_t bytes = base_bytes + address_count(*record) * sizeof(std::byte *);
    Record *const grown = global_alloc<Record>(GMEM_ZEROINIT, bytes);
    if (grown == nullptr)
        return nullptr;
    std::memcpy(static_cast<void *>(grown), record, base_bytes);
    grown->sharing.self = grown;
    return grown;
}

Record *lay_out(Record *record) {
    compute_cells(*record);
    return make_room_for_addresses(record);
}

bool build_cell_addresses(Record &record) {
    if (record.is_one_colour())
        return fail(site::one_colour_has_no_cells);
    const BUF32INFO &info = record.info;
    for (int band = 0; band < info.cell_rows; ++band) {
        const bool last_band = band == info.cell_rows - 1;
        const size_t step = last_band ? record.last_row_cell_bytes : info.cell_bytes;
        std::byte *address = record.storage + size_t(band) * info.band_bytes;
        for (int column = 0; column < info.cell_columns; ++column, address += step)
            record.cell_address[band * info.cell_columns + column] = address;
    }
    return true;
}

void set_linear_height(Record &record, int rows) {
    BUF32INFO &info = record.info;
    info.height = info.cell_height = info.last_row_height = rows;
    info.image_bytes = bytes_of_rows(rows, record.row_bytes);
    info.band_bytes = info.cell_bytes = info.image_bytes;
    record.last_column_cell_bytes = record.last_row_cell_bytes = info.image_bytes;
    record.corner_cell_bytes = info.image_bytes;
    record.cell_row_bytes = record.last_column_row_bytes = record.row_bytes;
}

} // namespace q32::buffer
