// The kinds of pixels as types: how many bytes, and which bytes of the source make them.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include <cstddef>

namespace q32::rows {
namespace {

using std::size_t;

template <size_t size>
struct Plain {
    static constexpr size_t bytes = size;

    // Where byte i comes from: within its pixel, and within the group that becomes one pixel.
    static constexpr size_t in_pixel(size_t i) { return i; }
    static constexpr size_t in_group(size_t i, size_t) { return i; }
};

struct Swapped {
    static constexpr size_t bytes = 3;

    static constexpr size_t in_pixel(size_t i) { return 2 - i; }
    // Quirk: a pixel is mixed of two, bytes 2 and 1 of the last pixel and byte 0 of the first.
    // Callers see colours that no source pixel has; required. Do not take one pixel for all.
    static constexpr size_t in_group(size_t i, size_t pixels) {
        return in_pixel(i) + (i < 2 ? bytes * (pixels - 1) : 0);
    }
};

} // namespace
} // namespace q32::rows
