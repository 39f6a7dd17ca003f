// Enlarging rows of bits byte by byte, each of which finds in a table what it becomes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/bit_scaling_plans.h"
#include "rows/kernels/few_bytes.h"

#include <algorithm>

namespace q32::rows {
namespace {

// An entry is stored for each source byte; what is too much of it belongs to the next, or is left
// out.
template <size_t size>
inline void enlarge_by_table(uint8_t *destination, const uint8_t *source, size_t pixels,
                             size_t factor, const EnlargedBytes<size> &table) {
    const size_t careful = size == 8 ? 7 / factor : factor != 16; // bytes of the source
    size_t bytes = pixels / 8;
#pragma GCC unroll 4
    for (; bytes > careful; --bytes, ++source, destination += factor) {
        if constexpr (size == 8)
            store_8(destination, load_8(table.of[*source]));
        else
            store_16(destination, load_16(table.of[*source]));
    }
    for (; bytes != 0; --bytes, ++source, destination += factor)
        copy_few(destination, table.of[*source], factor);
    if (const size_t left = pixels % 8; left != 0)
        copy_few(destination, table.of[*source & 0xFF00u >> left & 0xFF], (left * factor + 7) / 8);
}

// Of an entry so many bytes. Up to 16 bytes are few, and behind 16 others there are 8 at most.
template <size_t size>
inline void copy_entry(uint8_t *to, const uint8_t *entry, size_t bytes) {
    if (size > 16 && bytes > 16) {
        store_16(to, load_16(entry));
        copy_few(to + 16, entry + 16, bytes - 16);
    } else {
        copy_few(to, entry, bytes);
    }
}

template <size_t size>
inline void store_entry(uint8_t *to, const uint8_t *entry) {
    store_16(to, load_16(entry));
    if constexpr (size == 24)
        store_8(to + 16, load_8(entry + 16));
}

// By a factor above 16: a source byte by its two halves, the second of which is stored over the end
// of the first. What is stored behind both belongs to four more pixels.
template <size_t size>
inline void enlarge_by_halves(uint8_t *destination, const uint8_t *source, size_t pixels,
                              size_t factor, const EnlargedHalves<size> &table) {
    const size_t second = factor / 2;
    size_t left = pixels;
#pragma GCC unroll 2
    for (; left >= 12; left -= 8, destination += factor, ++source) {
        store_entry<size>(destination, table.first[*source >> 4]);
        store_entry<size>(destination + second, table.second[*source & 0x1F]);
    }
    while (left != 0) {
        const size_t now = std::min<size_t>(left, 8), bytes = (now * factor + 7) / 8;
        const unsigned byte = *source & 0xFF00u >> now & 0xFF;
        copy_entry<size>(destination, table.first[byte >> 4], std::min(bytes, size));
        if (bytes > second)
            copy_entry<size>(destination + second, table.second[byte & 0x1F], bytes - second);
        left -= now;
        destination += factor;
        ++source;
    }
}

} // namespace
} // namespace q32::rows
