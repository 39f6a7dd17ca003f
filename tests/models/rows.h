// The rules of the row conversions, written a second time and as plainly as possible, for the tests
// to compare with. Shares no line with the library's own code: one pixel at a time, no tricks, so
// that a reader can check each function against the rule by eye.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace q32::test::model {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

// `count` copies of the pattern, one after another.
inline Bytes fill(View pattern, std::size_t count) {
    Bytes out;
    for (std::size_t i = 0; i < count; ++i)
        for (const std::uint8_t byte : pattern)
            out.push_back(byte);
    return out;
}

inline Bytes byte_invert(View source) {
    Bytes out;
    for (const std::uint8_t byte : source)
        out.push_back(static_cast<std::uint8_t>(255 - byte));
    return out;
}

// Pixel 0 is bit 7 of the first byte, pixel 7 its bit 0. A set bit gives `one`, a clear bit 0.
inline Bytes bit_to_bytes(View source, std::size_t count, std::uint8_t one) {
    Bytes out;
    for (std::size_t i = 0; i < count; ++i) {
        const int bit = (source[i / 8] >> (7 - i % 8)) & 1;
        out.push_back(bit == 1 ? one : 0);
    }
    return out;
}

// Strictly above the threshold is 1. Bits below the last pixel of the last byte are 0.
inline Bytes byte_to_bit(View source, std::size_t count, std::uint8_t threshold) {
    Bytes out((count + 7) / 8, 0);
    for (std::size_t i = 0; i < count; ++i)
        if (source[i] > threshold)
            out[i / 8] = static_cast<std::uint8_t>(out[i / 8] + (128 >> (i % 8)));
    return out;
}

// One channel of a 16-bit pixel: how many bits it has and the place of its lowest one.
struct Field {
    int bits;
    int place;
};
struct Layout16 {
    Field channel[3];
};
inline constexpr Layout16 layout_555{{{5, 10}, {5, 5}, {5, 0}}};
inline constexpr Layout16 layout_565{{{5, 11}, {6, 5}, {5, 0}}};

// Truncation: the field is the top bits of the channel byte. Words are stored low byte first.
inline Bytes narrow(View source, std::size_t count, const Layout16 &layout) {
    Bytes out;
    for (std::size_t i = 0; i < count; ++i) {
        unsigned word = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            const Field f = layout.channel[c];
            const unsigned value = source[3 * i + c] / (1u << (8 - f.bits));
            word += value * (1u << f.place);
        }
        out.push_back(static_cast<std::uint8_t>(word % 256));
        out.push_back(static_cast<std::uint8_t>(word / 256));
    }
    return out;
}

// The field becomes the top bits of the channel byte and all bits below it are set.
inline Bytes widen(View source, std::size_t count, const Layout16 &layout) {
    Bytes out;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned word = source[2 * i] + 256u * source[2 * i + 1];
        for (std::size_t c = 0; c < 3; ++c) {
            const Field f = layout.channel[c];
            const unsigned value = (word / (1u << f.place)) % (1u << f.bits);
            const unsigned step = 1u << (8 - f.bits);
            out.push_back(static_cast<std::uint8_t>(value * step + (step - 1)));
        }
    }
    return out;
}

inline Bytes swap_channels(View source, std::size_t count) {
    Bytes out;
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t c = 0; c < 3; ++c)
            out.push_back(source[3 * i + (2 - c)]);
    return out;
}

// Sample i of a pixel of `channels` channels goes through table i; tables lie 256 bytes apart.
inline Bytes map_8(View source, View tables, std::size_t channels, std::size_t count) {
    Bytes out;
    for (std::size_t i = 0; i < count * channels; ++i)
        out.push_back(tables[256 * (i % channels) + source[i]]);
    return out;
}

// The interpolated lookup: weighted towards the next entry, so that a sample with low byte 0 gives
// the next entry and not its own. Only the low 16 bits of the result count.
inline std::uint16_t interpolate(View table, std::uint16_t sample) {
    const int high = sample / 256;
    const int low = sample % 256;
    const int next = high == 255 ? 255 : high + 1;
    const std::int64_t here = table[static_cast<std::size_t>(high)];
    const std::int64_t there = table[static_cast<std::size_t>(next)];
    const std::int64_t result = (here - there) * low + there * 256;
    return static_cast<std::uint16_t>(((result % 65536) + 65536) % 65536);
}

inline Bytes map_16(View source, View tables, std::size_t channels, std::size_t count) {
    Bytes out;
    for (std::size_t i = 0; i < count * channels; ++i) {
        const auto sample = static_cast<std::uint16_t>(source[2 * i] + 256u * source[2 * i + 1]);
        const View table = tables.subspan(256 * (i % channels), 256);
        const std::uint16_t value = interpolate(table, sample);
        out.push_back(static_cast<std::uint8_t>(value % 256));
        out.push_back(static_cast<std::uint8_t>(value / 256));
    }
    return out;
}

} // namespace q32::test::model
