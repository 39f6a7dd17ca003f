// Fills of plain memory: colours of up to four bytes by the row fills, longer ones by copying what
// is already there.
#include "buffer/colour_fill.h"

#include "rows/rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace q32::buffer {

// Doubles up to a stretch that stays in the cache, and then repeats that.
void repeat_bytes(std::byte *block, size_t unit_bytes, size_t total_bytes) {
    constexpr size_t long_stretch = 8192;
    size_t stretch = unit_bytes;
    for (size_t done = unit_bytes; done < total_bytes;) {
        const size_t next = std::min(stretch, total_bytes - done);
        std::memcpy(block + done, block, next);
        done += next;
        if (stretch < long_stretch)
            stretch = done;
    }
}

void fill_pixels(std::byte *memory, const void *colour, int colour_bytes, size_t count) {
    if (count == 0)
        return;
    const size_t unit = size_t(colour_bytes);
    if (unit <= rows::max_fill_bytes) {
        rows::kernels().fill[unit - 1](reinterpret_cast<uint8_t *>(memory),
                                       static_cast<const uint8_t *>(colour), count);
        return;
    }
    std::memcpy(memory, colour, unit);
    repeat_bytes(memory, unit, unit * count);
}

} // namespace q32::buffer
