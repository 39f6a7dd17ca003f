// Rows of a source where they lie: in the cells of a band, which is turned to by any of its rows.
#pragma once

#include "buffer/cells.h"
#include "rows/rows.h"

#include <cstddef>
#include <cstdint>

namespace q32::resample {

// Rows at hand, one after another from the first on. Null pixels: there are none.
struct RowsAtHand {
    const std::uint8_t *pixels = nullptr;
    std::size_t stride = 0; // bytes from row to row
    int first = 0, count = 0;

    bool have(int row) const { return unsigned(row - first) < unsigned(count); }
    RowsAtHand from(std::size_t bytes) const { return {pixels + bytes, stride, first, count}; }
    const std::uint8_t *row(int row) const { return pixels + std::size_t(row - first) * stride; }
};

class CellRows {
public:
    // Of the cells from the first column of them to the last. They stay where they are as long as
    // nobody calls back.
    void begin(const buffer::Record &owner, std::byte *const *cells, int first, int last) {
        info_ = &owner.info;
        cells_ = cells;
        first_ = first;
        last_ = last;
        rows_ = 0;
    }

    // Turns to the band of the row. False: there is no storage.
    bool turn_to(int row) {
        row_ = row - top_;
        return unsigned(row_) < unsigned(rows_) || turn_to_band_of(row);
    }

    // In a column of cells whose rows have so many bytes: all rows of the band, and the one turned
    // to.
    RowsAtHand of_cell(int column, std::size_t row_bytes) const {
        return {pixels(column), row_bytes, top_, rows_};
    }
    const std::uint8_t *row_of_cell(int column, std::size_t row_bytes) const {
        return pixels(column) + std::size_t(row_) * row_bytes;
    }

    // Which bytes of the cells' rows a row put together of them has: from the offset in the first
    // of them on, to the end in the last one, whose rows may be shorter than the others'.
    struct Assembly {
        std::size_t cell_row_bytes, offset;
        std::size_t last_cell_row_bytes, end;
    };

    // Rows of the band from the one turned to on.
    int rows_left() const { return rows_ - row_; }

    // Puts so many rows together, from the one turned to on, each of two cells or more.
    void assemble(std::uint8_t *rows, std::size_t stride, int count,
                  const Assembly &assembly) const {
        const auto copy_rows = rows::kernels().copy_rows;
        const auto copies = std::size_t(count);
        const std::size_t whole_bytes = assembly.cell_row_bytes;
        const std::size_t first_bytes = whole_bytes - assembly.offset;
        copy_rows(rows, stride, row_of_cell(first_, whole_bytes) + assembly.offset, whole_bytes,
                  first_bytes, copies);
        rows += first_bytes;
        // Cells of a band lie one behind the other.
        if (const int whole = last_ - first_ - 1; whole > 0 && count == 1) {
            copy_rows(rows, whole_bytes, row_of_cell(first_ + 1, whole_bytes),
                      std::size_t(band_[first_ + 1] - band_[first_]), whole_bytes,
                      std::size_t(whole));
            rows += unsigned(whole) * whole_bytes;
        } else {
            for (int column = first_ + 1; column < last_; ++column, rows += whole_bytes)
                copy_rows(rows, stride, row_of_cell(column, whole_bytes), whole_bytes, whole_bytes,
                          copies);
        }
        copy_rows(rows, stride, row_of_cell(last_, assembly.last_cell_row_bytes),
                  assembly.last_cell_row_bytes, assembly.end, copies);
    }

private:
    const std::uint8_t *pixels(int column) const {
        return reinterpret_cast<const std::uint8_t *>(band_[column]);
    }

    bool turn_to_band_of(int row) {
        const int band = row / info_->cell_height;
        band_ = cells_ + std::size_t(band) * std::size_t(info_->cell_columns);
        top_ = band * info_->cell_height;
        row_ = row - top_;
        rows_ = 0;
        for (int column = first_; column <= last_; ++column)
            if (band_[column] == nullptr)
                return false;
        rows_ = info_->cell_height;
        return true;
    }

    const BUF32INFO *info_ = nullptr;
    std::byte *const *cells_ = nullptr;
    int first_ = 0, last_ = 0;

    std::byte *const *band_ = nullptr;
    int top_ = 0, rows_ = 0; // of the band
    int row_ = 0;            // in it
};

} // namespace q32::resample
