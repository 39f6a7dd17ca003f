// Position tables as drivers own them and as programs hold them. The rules are in
// kernels/positions.h.
#pragma once

#include "geometry/area.h"
#include "library/process/owners.h"
#include "resample/methods.h"

#include <q32base/types.h>

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

    // For a destination of this size.
    Positions columns(Size size) const {
        return {column_index, column_fraction, std::size_t(size.width)};
    }
    Positions rows(Size size) const { return {row_index, row_fraction, std::size_t(size.height)}; }
};

// Reports when a side is below 1 or there is no memory; all four are null then.
TableSet make_tables(Size source, Size destination, FractionBits columns, FractionBits rows);
void free_tables(const TableSet &set);

// Tables between two buffers for the time of a scope, with their lengths.
class PositionTables {
public:
    // Reports and returns false when a buffer is not live or there is no memory.
    bool make(HBUF32 source, HBUF32 destination, FractionBits bits);

    Positions columns() const { return set_.get().columns(destination_); }
    Positions rows() const { return set_.get().rows(destination_); }

private:
    struct SetTraits {
        using Value = TableSet;
        static Value none() { return {}; }
        static void release(const Value &set) { free_tables(set); }
    };

    Owner<SetTraits> set_;
    Size destination_;
};

// The tables of cells for the time of a scope: fixed blocks, each of its entries and 8 bytes more.
class CellTables {
public:
    // False when there is no memory.
    bool make(Size source, Size destination, const Method &method);

    Positions columns() const { return columns_.positions(); }
    Positions rows() const { return rows_.positions(); }

private:
    struct Axis {
        GlobalBlock index, fraction;
        std::size_t count = 0;

        bool make(int source, int destination, const Method &method);
        std::int32_t *indices() const { return static_cast<std::int32_t *>(index.get()); }
        std::int32_t *fractions() const { return static_cast<std::int32_t *>(fraction.get()); }
        Positions positions() const { return {indices(), fractions(), count}; }
    };

    Axis columns_, rows_;
};

} // namespace q32::resample
