// Position tables: their memory, and the exports that hand them to programs. What stands in them
// is the kernels' part.
#include "resample/position_tables.h"

#include "resample/failures.h"

#include <q32base/buffers.h>
#include <q32base/resample.h>

namespace q32::resample {
namespace {

// --- one table ----------------------------------------------------------------------------------

std::int32_t *allocate_table(LONG entries) {
    constexpr SIZE_T room_behind = 8; // bytes
    constexpr SIZE_T most_entries = (MAXSIZE_T - room_behind) / sizeof(std::int32_t);
    if (SIZE_T(entries) > most_entries)
        return nullptr;
    GlobalBlock block(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT,
                                  SIZE_T(entries) * sizeof(std::int32_t) + room_behind));
    if (!block)
        return nullptr;
    auto *const table = static_cast<std::int32_t *>(GlobalLock(block.get()));
    if (table != nullptr)
        block.release(); // its address leads back to it
    return table;
}

void free_table(std::int32_t *table) {
    if (table == nullptr)
        return;
    const HGLOBAL block = GlobalHandle(table);
    GlobalUnlock(block);
    GlobalFree(block);
}

// --- four tables --------------------------------------------------------------------------------

TableSet allocate_tables(SIZE destination) {
    const TableSet set = {allocate_table(destination.cx), allocate_table(destination.cx),
                          allocate_table(destination.cy), allocate_table(destination.cy)};
    if (set.column_index != nullptr && set.column_fraction != nullptr && set.row_index != nullptr &&
        set.row_fraction != nullptr)
        return set;
    free_tables(set);
    return {};
}

bool has_sides(SIZE size) {
    return size.cx >= 1 && size.cy >= 1;
}

// --- buffers ------------------------------------------------------------------------------------

bool read_size(HBUF32 buffer, SIZE *size) {
    int width = 0, height = 0;
    if (!buf32GetWHU(buffer, &width, &height, nullptr))
        return false;
    *size = {width, height};
    return true;
}

// Reports and returns false when one of them is not a live buffer.
bool read_sizes(HBUF32 source, HBUF32 destination, SIZE *source_size, SIZE *destination_size) {
    if (!read_size(destination, destination_size))
        return fail(site::destination_not_live);
    return read_size(source, source_size) || fail(site::source_not_live);
}

// The bits of fractions by the number that programs give.
FractionBits column_bits(int mode) {
    return mode == 1 ? FractionBits::eight : FractionBits::sixteen;
}
// Not the same test as for columns. Required: with a mode of 2 programs see 16-bit fractions of
// columns beside 8-bit fractions of rows.
FractionBits row_bits(int mode) {
    return mode != 0 ? FractionBits::eight : FractionBits::sixteen;
}

} // namespace

TableSet make_tables(SIZE source, SIZE destination, FractionBits columns, FractionBits rows) {
    if (!has_sides(source) || !has_sides(destination)) {
        fail(site::side_below_one);
        return {};
    }
    const TableSet set = allocate_tables(destination);
    if (set == TableSet{}) {
        fail(site::no_tables);
        return {};
    }
    table_positions(set.column_index, set.column_fraction, columns, destination.cx, source.cx);
    table_positions(set.row_index, set.row_fraction, rows, destination.cy, source.cy);
    return set;
}

void free_tables(const TableSet &set) {
    free_table(set.column_index);
    free_table(set.column_fraction);
    free_table(set.row_index);
    free_table(set.row_fraction);
}

bool PositionTables::make(HBUF32 source, HBUF32 destination, FractionBits bits) {
    SIZE source_size = {};
    if (!read_sizes(source, destination, &source_size, &destination_))
        return false;
    set_.reset(make_tables(source_size, destination_, bits, bits));
    return bool(set_);
}

} // namespace q32::resample

// --- exports ------------------------------------------------------------------------------------

using namespace q32::resample;

int Q32_CALL q32InitResampleTable(HBUF32 source, HBUF32 destination, int fraction_mode,
                                  int32_t **column_index, int32_t **column_fraction,
                                  int32_t **row_index, int32_t **row_fraction) {
    SIZE source_size = {}, destination_size = {};
    if (!read_sizes(source, destination, &source_size, &destination_size) ||
        column_index == nullptr || column_fraction == nullptr || row_index == nullptr ||
        row_fraction == nullptr)
        return 0;

    const TableSet set = make_tables(source_size, destination_size, column_bits(fraction_mode),
                                     row_bits(fraction_mode));
    if (set == TableSet{})
        return 0;
    *column_index = set.column_index;
    *column_fraction = set.column_fraction;
    *row_index = set.row_index;
    *row_fraction = set.row_fraction;
    return 1;
}

int Q32_CALL q32FreeResampleTable(int32_t *column_index, int32_t *column_fraction,
                                  int32_t *row_index, int32_t *row_fraction) {
    free_tables({column_index, column_fraction, row_index, row_fraction});
    return 1;
}
