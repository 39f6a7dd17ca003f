// Position tables as the driver functions own them. The rules are in kernels/positions.h.
#pragma once

#include "resample/kernels/positions.h"
#include "resample/kernels/resample_kernels.h"

#include <windows.h>

#include <cstdint>

namespace q32::resample {

// Which fractions a set of tables has, by the number that programs give.
constexpr FractionBits column_fraction_bits(int mode) {
    return mode == 1 ? FractionBits::eight : FractionBits::sixteen;
}
// Not the same test as for columns: a mode of 2 gives 16-bit columns and 8-bit rows. Programs can
// see it in the tables.
constexpr FractionBits row_fraction_bits(int mode) {
    return mode != 0 ? FractionBits::eight : FractionBits::sixteen;
}

// Four tables in locked GMEM_MOVEABLE | GMEM_ZEROINIT blocks, each of the entries and 8 bytes more.
class PositionTables {
public:
    PositionTables() = default;
    PositionTables(const PositionTables &) = delete;
    PositionTables &operator=(const PositionTables &) = delete;
    ~PositionTables() { free(); }

    // Reports and returns false when a side is below 1 or there is no memory; then there are none.
    bool make(SIZE source, SIZE destination, int fraction_mode);
    void free();

    bool are_made() const { return table_[0] != nullptr; }
    Positions columns() const { return {table_[0], table_[1], columns_}; }
    Positions rows() const { return {table_[2], table_[3], rows_}; }

    // Column indices, column fractions, row indices, row fractions: now the caller's, to be freed
    // with free_position_table.
    void release(std::int32_t *(&tables)[4]);

private:
    std::int32_t *table_[4] = {};
    std::size_t columns_ = 0, rows_ = 0;
};

// Null is no table.
void free_position_table(std::int32_t *table);

} // namespace q32::resample
