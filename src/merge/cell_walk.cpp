// Locks of cells.
#include "merge/cell_walk.h"

#include <utility>

namespace q32::merge {

bool CellLock::lock(HBUF32 buffer, int index) {
    void *address = nullptr;
    if (!buf32CellLock(buffer, index, &address, &cell_))
        return false;
    buffer_ = buffer;
    address_ = static_cast<std::uint8_t *>(address);
    return address_ != nullptr;
}

void CellLock::unlock() {
    if (const HBUF32 buffer = std::exchange(buffer_, 0); buffer != 0)
        buf32CellUnlock(buffer, cell_.index);
}

bool CellLock::holds(const Area &area, int bytes_per_pixel) const {
    return contains(this->area(), area) &&
           std::size_t(area.right - cell_.x) * std::size_t(bytes_per_pixel) <= stride();
}

} // namespace q32::merge
