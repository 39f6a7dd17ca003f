// Position tables: their memory, and the exports that hand them to programs. What stands in them
// is the kernels' part.
#include "resample/position_tables.h"

#include <q32base/buffers.h>
#include <q32base/resample.h>

#include <algorithm>

namespace q32::resample {
namespace {

// --- one table ----------------------------------------------------------------------------------

constexpr SIZE_T room_behind = 8; // bytes

GlobalBlock allocate_block(UINT flags, int entries) {
    constexpr SIZE_T most_entries = (MAXSIZE_T - room_behind) / sizeof(std::int32_t);
    if (SIZE_T(entries) > most_entries)
        return {};
    return GlobalBlock(GlobalAlloc(flags, SIZE_T(entries) * sizeof(std::int32_t) + room_behind));
}

std::int32_t *allocate_table(int entries) {
    GlobalBlock block = allocate_block(GMEM_MOVEABLE | GMEM_ZEROINIT, entries);
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

TableSet allocate_tables(Size destination) {
    const TableSet set = {allocate_table(destination.width), allocate_table(destination.width),
                          allocate_table(destination.height), allocate_table(destination.height)};
    if (set.column_index != nullptr && set.column_fraction != nullptr && set.row_index != nullptr &&
        set.row_fraction != nullptr)
        return set;
    free_tables(set);
    return {};
}

// --- buffers ------------------------------------------------------------------------------------

bool read_size(HBUF32 buffer, Size *size) {
    return buf32GetWHU(buffer, &size->width, &size->height, nullptr);
}

// Reports and returns false when one of them is not a live buffer.
bool read_sizes(HBUF32 source, HBUF32 destination, Size *source_size, Size *destination_size) {
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

TableSet make_tables(Size source, Size destination, FractionBits columns, FractionBits rows) {
    if (source.is_empty() || destination.is_empty()) {
        fail(site::side_below_one);
        return {};
    }
    const TableSet set = allocate_tables(destination);
    if (set == TableSet{}) {
        fail(site::no_tables);
        return {};
    }
    table_positions(set.column_index, set.column_fraction, columns, destination.width,
                    source.width);
    table_positions(set.row_index, set.row_fraction, rows, destination.height, source.height);
    return set;
}

void free_tables(const TableSet &set) {
    free_table(set.column_index);
    free_table(set.column_fraction);
    free_table(set.row_index);
    free_table(set.row_fraction);
}

bool PositionTables::make(HBUF32 source, HBUF32 destination, FractionBits bits) {
    Size source_size;
    if (!read_sizes(source, destination, &source_size, &destination_))
        return false;
    set_.reset(make_tables(source_size, destination_, bits, bits));
    return bool(set_);
}

// --- cells --------------------------------------------------------------------------------------

bool CellTables::Axis::make(int source, int destination, const Method &method) {
    count = std::size_t(destination);
    index = allocate_block(GMEM_FIXED, destination);
    if (method.cell_positions == CellPositions::rounded) {
        if (!index)
            return false;
        nearest_cell_positions(indices(), destination, source);
        return true;
    }
    fraction = allocate_block(GMEM_FIXED, destination);
    if (!index || !fraction)
        return false;
    cell_positions(indices(), fractions(), destination, source);
    if (method.fractions == FractionBits::eight)
        std::for_each_n(fractions(), count, [](std::int32_t &sixteen_bits) { sixteen_bits >>= 8; });
    return true;
}

bool CellTables::make(Size source, Size destination, const Method &method) {
    return columns_.make(source.width, destination.width, method) &&
           rows_.make(source.height, destination.height, method);
}

} // namespace q32::resample

// --- exports ------------------------------------------------------------------------------------

using namespace q32::resample;

int Q32_CALL q32InitResampleTable(HBUF32 source, HBUF32 destination, int fraction_mode,
                                  int32_t **column_index, int32_t **column_fraction,
                                  int32_t **row_index, int32_t **row_fraction) {
    q32::Size source_size, destination_size;
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
