// Rearranges the pixels of bitmaps. Rows go by way of the row table, as locked callers see them.
#include "buffer/bitmaps.h"

#include "buffer/packed_bitmap.h"

#include <q32base/rows.h>

#include <cstring>

namespace q32::buffer {
namespace {

std::byte *padded_row(const Record &record, int row) {
    return record.storage + size_t(row) * padded_row_bytes(record.row_bytes);
}

// Where the row table says that the row lies.
std::byte *row_at(const Record &record, int row) {
    std::byte *const *const table = record.cell_address;
    return table[row];
}

bool has_padding(const Record &record) {
    return padded_row_bytes(record.row_bytes) != record.row_bytes;
}

// Rows move down by ever more bytes, so that a row never lands on one that has yet to move; only on
// itself.
void pack_rows(const Record &record) {
    for (int row = 1; row < record.info.height; ++row)
        std::memmove(row_at(record, row), padded_row(record, row), record.row_bytes);
}

// The same backwards, from the last row on.
void pad_rows(const Record &record) {
    for (int row = record.info.height - 1; row >= 1; --row)
        std::memmove(padded_row(record, row), row_at(record, row), record.row_bytes);
}

void swap_red_and_blue(const Record &record, std::byte *row) {
    constexpr int red_green_blue = 3; // bytes
    if (record.info.bytes_per_pixel == red_green_blue)
        RGBToBGR(row, row, record.info.width);
}

// Turns the image upside down and swaps red and blue, a pair of rows at a time while they are in
// the cache.
void flip_and_swap(const Record &record) {
    int top = 0;
    int bottom = record.info.height - 1;
    for (; top < bottom; ++top, --bottom) {
        std::byte *const upper = row_at(record, top);
        std::byte *const lower = row_at(record, bottom);
        mem32Exchange(upper, lower, int(record.row_bytes));
        swap_red_and_blue(record, upper);
        swap_red_and_blue(record, lower);
    }
    if (top == bottom)
        swap_red_and_blue(record, row_at(record, top));
}

} // namespace

void build_row_addresses(Record &record) {
    for (int row = 0; row < record.info.height; ++row)
        record.cell_address[row] = record.storage + size_t(row) * record.row_bytes;
}

void to_buffer_layout(Record &record) {
    build_row_addresses(record);
    if (has_padding(record))
        pack_rows(record);
    flip_and_swap(record);
}

void to_bitmap_layout(Record &record) {
    if (has_padding(record))
        pad_rows(record);
    for (int row = 0; row < record.info.height; ++row)
        record.cell_address[row] = padded_row(record, row);
    flip_and_swap(record);
}

} // namespace q32::buffer
