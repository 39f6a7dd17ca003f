// Position tables as drivers own them and as programs hold them. The rules are in
// kernels/positions.h.
#pragma once

#include "library/process/owners.h"
#include "resample/kernels/positions.h"
#include "resample/kernels/resample_kernels.h"

#include <windows.h>

#include <cstdint>

namespace q32::resample {

// Which fractions tables have, by the number that programs give.
constexpr FractionBits column_fraction_bits(int mode) {
    return mode == 1 ? FractionBits::eight : FractionBits::sixteen;
}
// Not the same test as for columns. Required: with a mode of 2 programs see 16-bit fractions of
// columns beside 8-bit fractions of rows.
constexpr FractionBits row_fraction_bits(int mode) {
    return mode != 0 ? FractionBits::eight : FractionBits::sixteen;
}

// Four tables in locked GMEM_MOVEABLE | GMEM_ZEROINIT blocks, each of its entries and 8 bytes more.
// Null is no table.
struct TableSet {
    std::int32_t *column_index;
    std::int32_t *column_fraction;
    std::int32_t *row_index;
    std::int32_t *row_fraction;

    bool operator==(const TableSet &) const = default;
};

// Reports when a side is below 1 or there is no memory; all four are null then.
TableSet make_tables(SIZE source, SIZE destination, int fraction_mode);
void free_tables(const TableSet &set);

// Tables for the time of a scope, with their lengths.
class PositionTables {
public:
    // Reports and returns false when a side is below 1 or there is no memory.
    bool make(SIZE source, SIZE destination, int fraction_mode) {
        destination_ = destination;
        set_.reset(make_tables(source, destination, fraction_mode));
        return bool(set_);
    }

    Positions columns() const {
        const TableSet set = set_.get();
        return {set.column_index, set.column_fraction, std::size_t(destination_.cx)};
    }
    Positions rows() const {
        const TableSet set = set_.get();
        return {set.row_index, set.row_fraction, std::size_t(destination_.cy)};
    }

private:
    struct SetTraits {
        using Value = TableSet;
        static Value none() { return {}; }
        static void release(const Value &set) { free_tables(set); }
    };

    Owner<SetTraits> set_;
    SIZE destination_ = {};
};

} // namespace q32::resample
