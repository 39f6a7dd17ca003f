// Pixels that lie far apart in the cells of a source, taken one by one and laid side by side: of
// each column of a piece the few that are read, and nothing of what lies between them.
#pragma once

#include "resample/cell_rows.h"
#include "resample/kernels/resample_kernels.h"

#include <cstddef>
#include <cstdint>

namespace q32::resample {

// The columns of cells of a source.
struct CellGrid {
    int image_width = 0, cell_width = 0; // pixels
    int last_column = 0;
    std::size_t row_bytes = 0, last_column_row_bytes = 0; // of a cell

    CellGrid() = default;
    bool operator==(const CellGrid &) const = default;

    explicit CellGrid(const buffer::Record &owner)
        : image_width(owner.info.width), cell_width(owner.info.cell_width),
          last_column(owner.info.cell_columns - 1), row_bytes(owner.cell_row_bytes),
          last_column_row_bytes(owner.last_column_row_bytes) {}

    int cut(int pixel) const { return std::clamp(pixel, 0, image_width - 1); }
    int column_of(int pixel) const { return pixel / cell_width; }
    int first_pixel(int column) const { return column * cell_width; }
    std::size_t row_bytes_of(int column) const {
        return column == last_column ? last_column_row_bytes : row_bytes;
    }
};

// Of each column `count` neighbours, from the column's index and `first` on; beyond the image's
// ends the last there is.
struct Taps {
    int count; // 1, 2 or 4
    int first;
    int pixel_bytes; // 1 or 3
};

class GatheredTaps {
public:
    // Of memory, aligned like an address.
    static std::size_t bytes(std::size_t columns, const Taps &taps);

    static GatheredTaps *make(void *memory, const Positions &columns, const Taps &taps,
                              const CellGrid &grid);

    // Of the row turned to.
    void take(std::uint8_t *destination, const CellRows &rows) const {
        take_(destination, *this, rows);
    }

private:
    // Columns whose taps lie in one cell, up to `end_together`, are taken by one move each; those
    // behind them, up to `end`, tap by tap.
    struct Stretch {
        int cell;
        std::size_t row_bytes;
        std::size_t end_together, end;
    };
    struct Place {
        int cell;
        std::size_t row_bytes;
        std::size_t offset;
    };

    template <int taps, int pixel_bytes>
    static void take(std::uint8_t *destination, const GatheredTaps &gathered, const CellRows &rows);

    using Take = void(std::uint8_t *destination, const GatheredTaps &gathered,
                      const CellRows &rows);

    Take *take_;
    std::size_t stretches_ = 0;
    Stretch *stretch_;
    Place *place_;          // of taps that are taken by themselves
    std::uint32_t *offset_; // of each column's first tap in its cell's row
};

} // namespace q32::resample
