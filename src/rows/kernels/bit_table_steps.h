// Enlarging rows of bits byte by byte, each of which finds in a table what it becomes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/bit_scaling_plans.h"
#include "rows/kernels/few_bytes.h"

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

} // namespace
} // namespace q32::rows
