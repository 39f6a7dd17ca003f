// Cells under lock, and the walk over the cells that an area of a buffer covers. Locks go the way
// of a program's own, through the exports.
#pragma once

#include "buffer/buffer_lock.h"
#include "merge/layers.h"

#include <q32base/buffers.h>

#include <cstddef>
#include <cstdint>

namespace q32::merge {

using buffer::BufferLock;

// A lock of one cell, until the end of the scope.
class CellLock {
public:
    CellLock() = default;
    CellLock(const CellLock &) = delete;
    CellLock &operator=(const CellLock &) = delete;
    ~CellLock() { unlock(); }

    // False when the cell cannot be locked or has no pixels.
    bool lock(HBUF32 buffer, int index);
    void unlock();
    void leave_locked() { buffer_ = 0; }

    int index() const { return cell_.index; }
    Area area() const { return area_of(cell_.x, cell_.y, cell_.width, cell_.height); }

    // Whether an area of pixels of this size lies inside the cell.
    bool holds(const Area &area, int bytes_per_pixel) const;

    // Its rows, without memory where it has not been locked.
    PixelRows<std::uint8_t> rows(int bytes_per_pixel) const {
        return {address_, cell_.x, cell_.y, stride(), bytes_per_pixel};
    }

private:
    std::size_t stride() const { return std::size_t(cell_.row_bytes); }

    HBUF32 buffer_ = 0; // 0: nothing to unlock
    std::uint8_t *address_ = nullptr;
    BUF32CELL cell_ = {};
};

// The cells that an area inside the image covers, as columns and bands of a buffer's grid.
struct CellRange {
    int columns_of_buffer;
    int first_column, last_column;
    int first_band, last_band;
};
CellRange cells_covering(HBUF32 buffer, const Area &area);

// Calls visit with the index of each cell that an area covers, band by band and left to right. Ends
// with false as soon as visit does.
template <typename Visit>
bool each_cell(HBUF32 buffer, const Area &area, const Visit &visit) {
    const CellRange range = cells_covering(buffer, area);
    for (int band = range.first_band; band <= range.last_band; ++band)
        for (int column = range.first_column; column <= range.last_column; ++column)
            if (!visit(band * range.columns_of_buffer + column))
                return false;
    return true;
}

} // namespace q32::merge
