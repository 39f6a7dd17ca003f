// Memory of the cells' tables. The rules are in kernels/positions.h.
#include "resample/cell_tables.h"

#include <algorithm>

namespace q32::resample {
namespace {

GlobalBlock allocate_table(int entries) {
    constexpr SIZE_T room_behind = 8; // bytes
    return GlobalBlock(
        GlobalAlloc(GMEM_FIXED, SIZE_T(entries) * sizeof(std::int32_t) + room_behind));
}

} // namespace

bool CellTables::Axis::make(int source, int destination, const Method &method) {
    count = std::size_t(destination);
    index = allocate_table(destination);
    if (method.cell_positions == CellPositions::rounded) {
        if (!index)
            return false;
        nearest_cell_positions(indices(), destination, source);
        return true;
    }
    fraction = allocate_table(destination);
    if (!index || !fraction)
        return false;
    cell_positions(indices(), fractions(), destination, source);
    if (method.fractions == FractionBits::eight)
        std::for_each_n(fractions(), count, [](std::int32_t &sixteen_bits) { sixteen_bits >>= 8; });
    return true;
}

bool CellTables::make(SIZE source, SIZE destination, const Method &method) {
    return columns_.make(source.cx, destination.cx, method) &&
           rows_.make(source.cy, destination.cy, method);
}

} // namespace q32::resample
