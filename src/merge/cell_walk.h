// Cells under lock, and the walk over the cells that an area of a buffer covers. Locks go the way
// of a program's own, through the exports.
#pragma once

#include "buffer/buffer_lock.h"
#include "buffer/record.h"
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

// Calls visit with the index of each cell that an area inside the image covers, band by band and
// left to right. Ends with false as soon as visit does.
template <typename Visit>
bool each_cell(HBUF32 handle, const Area &area, const Visit &visit) {
    const BUF32INFO &info = buffer::record_of(handle)->info;
    const int columns = info.cell_columns;
    using buffer::cell_number;
    const int first_column = cell_number(area.left, info.cell_width);
    const int last_column = cell_number(area.right - 1, info.cell_width);
    const int last_band = cell_number(area.bottom - 1, info.cell_height);
    for (int band = cell_number(area.top, info.cell_height); band <= last_band; ++band)
        for (int column = first_column; column <= last_column; ++column)
            if (!visit(band * columns + column))
                return false;
    return true;
}

} // namespace q32::merge
