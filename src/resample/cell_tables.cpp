// Memory of the cells' tables. The rules are in kernels/positions.h.
#include "resample/cell_tables.h"

#include "resample/kernels/positions.h"

namespace q32::resample {
namespace {

GlobalBlock allocate_table(int entries) {
    constexpr SIZE_T room_behind = 8; // bytes
    return GlobalBlock(
        GlobalAlloc(GMEM_FIXED, SIZE_T(entries) * sizeof(std::int32_t) + room_behind));
}

} // namespace

bool CellTables::Axis::allocate(int entries, bool with_fractions) {
    count = std::size_t(entries);
    index = allocate_table(entries);
    if (with_fractions)
        fraction = allocate_table(entries);
    return index && (fraction || !with_fractions);
}

bool CellTables::allocate(SIZE destination, bool with_fractions) {
    return columns_.allocate(destination.cx, with_fractions) &&
           rows_.allocate(destination.cy, with_fractions);
}

bool CellTables::make_nearest(SIZE source, SIZE destination) {
    if (!allocate(destination, false))
        return false;
    nearest_cell_positions(columns_.indices(), destination.cx, source.cx);
    nearest_cell_positions(rows_.indices(), destination.cy, source.cy);
    return true;
}

bool CellTables::make_bilinear(SIZE source, SIZE destination) {
    if (!allocate(destination, true))
        return false;
    cell_positions(columns_.indices(), columns_.fractions(), destination.cx, source.cx);
    cell_positions(rows_.indices(), rows_.fractions(), destination.cy, source.cy);
    return true;
}

bool CellTables::make_bicubic(SIZE source, SIZE destination) {
    if (!make_bilinear(source, destination))
        return false;
    for (const Axis *axis : {&columns_, &rows_})
        for (std::size_t i = 0; i < axis->count; ++i)
            axis->fractions()[i] >>= 8;
    return true;
}

} // namespace q32::resample
