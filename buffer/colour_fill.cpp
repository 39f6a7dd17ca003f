// Fills of plain memory: colours of up to four bytes by the row fills, longer ones by copying what
// is already there.
#include "buffer/colour_fill.h"

#include "rows/rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace q32::buffer {
namespace {

// Copies begin at the start of the memory and double in size, up to what stays in the first level
// of the cache.
void fill_by_copies(std::byte *memory, const void *colour, size_t colour_bytes, size_t count) {
    constexpr size_t largest_copy = 1024; // colours
    const size_t bytes = count * colour_bytes;
    std::memcpy(memory, colour, colour_bytes);
    for (size_t done = colour_bytes; done < bytes;) {
        const size_t next = std::min({done, largest_copy * colour_bytes, bytes - done});
        std::memcpy(memory + done, memory, next);
        done += next;
    }
}

} // namespace

void fill_pixels(std::byte *memory, const void *colour, int colour_bytes, size_t count) {
    if (count == 0)
        return;
    if (colour_bytes <= int(rows::max_fill_bytes))
        rows::kernels().fill[colour_bytes - 1](reinterpret_cast<uint8_t *>(memory),
                                               static_cast<const uint8_t *>(colour), count);
    else
        fill_by_copies(memory, colour, size_t(colour_bytes), count);
}

} // namespace q32::buffer
