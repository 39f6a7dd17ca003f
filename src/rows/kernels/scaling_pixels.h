// The kinds of pixels as types: how many bytes, and which bytes of the source make them.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/operations.h"

namespace q32::rows {
namespace {

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
    // Of the last pixel bytes 2 and 1, of the first byte 0.
    static constexpr size_t in_group(size_t i, size_t pixels) {
        return in_pixel(i) + (i < 2 ? bytes * (pixels - 1) : 0);
    }
};

} // namespace
} // namespace q32::rows
