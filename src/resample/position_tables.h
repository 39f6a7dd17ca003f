// Position tables as drivers own them and as programs hold them. The rules are in
// kernels/positions.h.
#pragma once

#include "library/process/owners.h"
#include "resample/kernels/positions.h"
#include "resample/kernels/resample_kernels.h"

#include <q32base/types.h>

#include <windows.h>

#include <cstdint>

namespace q32::resample {

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
TableSet make_tables(SIZE source, SIZE destination, FractionBits columns, FractionBits rows);
void free_tables(const TableSet &set);

// Tables between two buffers for the time of a scope, with their lengths.
class PositionTables {
public:
    // Reports and returns false when a buffer is not live or there is no memory.
    bool make(HBUF32 source, HBUF32 destination, FractionBits bits);

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
