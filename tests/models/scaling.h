// The rules of scaling by whole factors and of rectangle copies, written a second time and as
// plainly as possible, for the tests to compare with: one bit or byte at a time, every place worked
// out from the rule.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace q32::test::model {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

inline std::size_t row_of_bits(std::size_t bits) {
    return (bits + 7) / 8;
}

// Bit 0 is the highest of the first byte.
inline bool bit(const std::uint8_t *row, std::size_t position) {
    return (row[position / 8] & (128 >> position % 8)) != 0;
}

inline void put_bit(std::uint8_t *row, std::size_t position, bool value) {
    const int mask = 128 >> position % 8;
    const int rest = row[position / 8] & (255 - mask);
    row[position / 8] = static_cast<std::uint8_t>(value ? rest + mask : rest);
}

// How many pixels are left of `count`.
inline std::size_t reduced(std::size_t count, std::size_t factor) {
    return (count + factor - 1) / factor;
}

inline Bytes enlarge_bits(View source, std::size_t count, std::size_t factor) {
    Bytes out(row_of_bits(count * factor));
    for (std::size_t i = 0; i < count * factor; ++i)
        put_bit(out.data(), i, bit(source.data(), i / factor));
    return out;
}

inline Bytes reduce_bits(View source, std::size_t count, std::size_t factor) {
    Bytes out(row_of_bits(reduced(count, factor)));
    for (std::size_t k = 0; k < reduced(count, factor); ++k)
        put_bit(out.data(), k, bit(source.data(), k * factor));
    return out;
}

// swap: bytes 2, 1, 0 of each pixel; for pixels of 3 bytes only.
inline Bytes enlarge(View source, std::size_t count, std::size_t factor, std::size_t pixel_bytes,
                     bool swap) {
    Bytes out(count * factor * pixel_bytes);
    std::size_t at = 0;
    for (std::size_t pixel = 0; pixel < count; ++pixel)
        for (std::size_t again = 0; again < factor; ++again)
            for (std::size_t byte = 0; byte < pixel_bytes; ++byte)
                out[at++] = source[pixel * pixel_bytes + (swap ? 2 - byte : byte)];
    return out;
}

// With swap a pixel has bytes 2 and 1 of the last pixel of its group, then byte 0 of the first.
inline Bytes reduce(View source, std::size_t count, std::size_t factor, std::size_t pixel_bytes,
                    bool swap) {
    Bytes out;
    for (std::size_t k = 0; k < reduced(count, factor); ++k) {
        const std::size_t first = k * factor * pixel_bytes;
        const std::size_t last = (k * factor + factor - 1) * pixel_bytes;
        if (swap) {
            out.push_back(source[last + 2]);
            out.push_back(source[last + 1]);
            out.push_back(source[first]);
        } else {
            for (std::size_t byte = 0; byte < pixel_bytes; ++byte)
                out.push_back(source[first + byte]);
        }
    }
    return out;
}

// What reducing a row reads: the last group of a swap is read whole.
inline std::size_t bytes_to_reduce(std::size_t count, std::size_t factor, std::size_t pixel_bytes,
                                   bool swap) {
    return pixel_bytes * (swap ? reduced(count, factor) * factor : count);
}

} // namespace q32::test::model
