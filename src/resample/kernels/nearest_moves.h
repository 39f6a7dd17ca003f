// Nearest neighbour by moving pixels one after another: where each column's pixel lies in the
// source row, and the moves for pixels of 1 to 8 bytes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/resample_kernels.h"

#include <cstring>

namespace q32::resample {
namespace {

// Distances of the columns' pixels from the start of a source row. A row has less than 4 GB.
using Offset = std::uint32_t;

inline Offset offset_of(std::int32_t index, Extent source, int pixel_bytes) {
    return Offset(source.cut(index) - source.first) * Offset(pixel_bytes);
}

template <class Number>
void move(std::uint8_t *to, const std::uint8_t *from) {
    Number number;
    std::memcpy(&number, from, sizeof number);
    std::memcpy(to, &number, sizeof number);
}

template <int bytes>
void move_pixel(std::uint8_t *to, const std::uint8_t *from) {
    if constexpr (bytes > 4) { // both ends
        move<std::uint32_t>(to, from);
        move<std::uint32_t>(to + bytes - 4, from + bytes - 4);
    } else if constexpr (bytes == 4) {
        move<std::uint32_t>(to, from);
    } else {
        if constexpr (bytes >= 2)
            move<std::uint16_t>(to, from);
        if constexpr (bytes % 2 != 0)
            move<std::uint8_t>(to + bytes - 1, from + bytes - 1);
    }
}

// Pixels of three bytes are moved as four where the fourth is neither beyond the source row nor
// beyond the destination: in the columns before the first that reads the last pixel of the source.
inline std::size_t columns_that_move_a_byte_more(const Offset *offsets, std::size_t columns,
                                                 Offset last_offset) {
    if (columns == 0)
        return 0;
    const Offset *const end = offsets + columns - 1;
    return std::size_t(std::find(offsets, end, last_offset) - offsets);
}

template <int bytes>
void move_pixels(std::uint8_t *destination, const std::uint8_t *source_row, const Offset *offsets,
                 std::size_t columns, [[maybe_unused]] std::size_t with_a_byte_more) {
    std::size_t x = 0;
    if constexpr (bytes == 3)
        for (; x < with_a_byte_more; ++x, destination += bytes)
            move_pixel<bytes + 1>(destination, source_row + offsets[x]);
    for (; x < columns; ++x, destination += bytes)
        move_pixel<bytes>(destination, source_row + offsets[x]);
}

using MovePixels = void(std::uint8_t *destination, const std::uint8_t *source_row,
                        const Offset *offsets, std::size_t columns, std::size_t with_a_byte_more);

constexpr int most_pixel_bytes = 8;
constexpr MovePixels *moves[most_pixel_bytes + 1] = {
    nullptr,        move_pixels<1>, move_pixels<2>, move_pixels<3>, move_pixels<4>,
    move_pixels<5>, move_pixels<6>, move_pixels<7>, move_pixels<8>,
};

} // namespace
} // namespace q32::resample
