// The position tables of cells, for the time of a scope.
#pragma once

#include "library/process/owners.h"
#include "resample/methods.h"

#include <cstdint>

namespace q32::resample {

// Fixed blocks, each of its entries and 8 bytes more. False when there is no memory.
class CellTables {
public:
    bool make(SIZE source, SIZE destination, const Method &method);

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
