// A buffer is looked at through a duplicate of its own, which shares its cells and has no lock: a
// cell's lock in the buffer itself could be one for writing, and part it from those who share.
#include "buffer_probe.h"

#include "apps/pictures/buffer.h"

#include <algorithm>

namespace apps::q32view {
namespace {

// Regions of the system, the last of which is kept: cells lie side by side.
class Regions {
public:
    Place place_of(const void *address) {
        if (address == nullptr)
            return Place::nowhere;
        const auto at = reinterpret_cast<uintptr_t>(address);
        const auto begin = reinterpret_cast<uintptr_t>(region_.BaseAddress);
        if (region_.RegionSize == 0 || at < begin || at - begin >= region_.RegionSize)
            VirtualQuery(address, &region_, sizeof region_);
        return region_.Type == MEM_MAPPED ? Place::swap_file : Place::memory;
    }

private:
    MEMORY_BASIC_INFORMATION region_ = {};
};

// Null where there is none.
const void *cell_address(HBUF32 buffer, int index) {
    void *address = nullptr;
    if (!buf32CellLock(buffer, index, &address, nullptr))
        return nullptr;
    buf32CellUnlock(buffer, index);
    return address;
}

// False when there is no memory for the duplicate.
bool look_at_cells(HBUF32 buffer, SeenBuffer &seen, const void *&first_cell) {
    HBUF32 made = 0;
    if (!buf32DupBuf(buffer, &made))
        return false;
    const Buffer twin(made);
    first_cell = cell_address(twin.get(), 0);
    Regions regions;
    for (int index = 0; index < seen.info.cell_count; ++index)
        seen.cells.push_back(regions.place_of(cell_address(twin.get(), index)));
    return true;
}

SeenBuffer look_at_one(const NamedBuffer &buffer, const void *&first_cell) {
    SeenBuffer seen;
    seen.name = buffer.name;
    if (!buf32GetInfo(buffer.handle, &seen.info))
        return seen;
    const auto cells = static_cast<size_t>(seen.info.cell_count);
    if (seen.info.type == BUF32_ONE_COLOUR) {
        seen.cells.assign(cells, Place::one_colour);
        seen.has_block = buf32PointAddr(buffer.handle, 0, 0) != nullptr;
        seen.is_seen = true;
    } else if (seen.info.type == BUF32_PATTERN) {
        seen.cells.assign(cells, Place::pattern);
        seen.is_seen = true;
    } else {
        seen.is_seen = look_at_cells(buffer.handle, seen, first_cell);
    }
    return seen;
}

} // namespace

std::vector<SeenBuffer> look_at(const std::vector<NamedBuffer> &buffers) {
    std::vector<SeenBuffer> all;
    std::vector<const void *> first_cells(buffers.size());
    for (size_t i = 0; i < buffers.size(); ++i)
        all.push_back(look_at_one(buffers[i], first_cells[i]));
    for (size_t i = 0; i < all.size(); ++i)
        for (size_t other = 0; other < all.size(); ++other)
            if (other != i && first_cells[i] != nullptr && first_cells[i] == first_cells[other])
                all[i].shares_with.push_back(all[other].name);
    return all;
}

} // namespace apps::q32view
