// Colours, and plain memory filled with one or with what it begins with. Knows bytes only, no
// buffer's layout.
#pragma once

#include <q32base/buffers.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace q32::buffer {

// Bytes of a colour as fills repeat it: a pixel's; under 8 bits one byte of pixels.
constexpr int colour_bytes(const BUF32INFO &info) {
    return info.bytes_per_pixel > 0 ? info.bytes_per_pixel : 1;
}

// A colour of its own, as a record keeps it. A caller's colour may lie in the very memory that is
// filled or released.
struct Colour {
    Colour(const BUF32INFO &info, const void *bytes) {
        std::memcpy(words, bytes, size_t(colour_bytes(info)));
    }
    uintptr_t words[2] = {};
};

// Repeats the first unit_bytes of a block until total_bytes are filled. total_bytes may be less
// than unit_bytes: then nothing happens.
void repeat_bytes(std::byte *block, size_t unit_bytes, size_t total_bytes);

// Writes so many copies of a colour of 1 to 8 bytes. The colour lies outside the memory.
void fill_pixels(std::byte *memory, const void *colour, int colour_bytes, size_t count);

} // namespace q32::buffer
