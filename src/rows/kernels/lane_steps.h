// The steps that live from the byte shuffle, written once for vectors of one and of two lanes.
// Every lane has its own pixels, so that no byte crosses from lane to lane.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/runs.h"
#include "rows/kernels/widen_words.h"

#include <array>

namespace q32::rows {
namespace {

// --- helpers ------------------------------------------------------------------------------------

constexpr uint8_t nothing = 0x80; // a shuffle index that gives 0

template <class V>
inline constexpr size_t lanes = sizeof(V) / 16;

struct alignas(16) LaneIndices {
    uint8_t at[16];
};

template <class V>
inline V shuffle(V v, const LaneIndices &indices) {
    return shuffle(v, repeat_lane<V>(load_16(indices.at)));
}

// --- first and third byte swapped ---------------------------------------------------------------

// Sixteen pixels are three lanes of bytes. What output lane `to` takes from input lane `from`.
constexpr LaneIndices swap_indices(int to, int from) {
    LaneIndices indices{};
    for (int i = 0; i < 16; ++i) {
        const int at = 16 * to + i;
        const int wanted = at + 2 - 2 * (at % 3) - 16 * from;
        indices.at[i] = wanted >= 0 && wanted < 16 ? uint8_t(wanted) : nothing;
    }
    return indices;
}

template <class V>
struct SwapRedBlue {
    static constexpr size_t units = 16 * lanes<V>, source_bytes = 3, destination_bytes = 3;
    struct Loaded {
        V a, b, c;
    };

    Loaded load(const uint8_t *source) const {
        return {load_lanes<V>(source, 48), load_lanes<V>(source + 16, 48),
                load_lanes<V>(source + 32, 48)};
    }
    void store(uint8_t *destination, const Loaded &v) const {
        static constexpr LaneIndices aa = swap_indices(0, 0), ab = swap_indices(0, 1),
                                     ba = swap_indices(1, 0), bb = swap_indices(1, 1),
                                     bc = swap_indices(1, 2), cb = swap_indices(2, 1),
                                     cc = swap_indices(2, 2);
        store_lanes(destination, 48, shuffle(v.a, aa) | shuffle(v.b, ab));
        store_lanes(destination + 16, 48, shuffle(v.a, ba) | shuffle(v.b, bb) | shuffle(v.c, bc));
        store_lanes(destination + 32, 48, shuffle(v.b, cb) | shuffle(v.c, cc));
    }
};

// --- 24 bits to 16 ------------------------------------------------------------------------------

// Four pixels from byte `begin` on: words of third and first channel, then words of the second.
constexpr LaneIndices narrow_indices(int begin) {
    LaneIndices indices{};
    for (int pixel = 0; pixel < 4; ++pixel) {
        const int at = begin + 3 * pixel;
        indices.at[2 * pixel] = uint8_t(at + 2);
        indices.at[2 * pixel + 1] = uint8_t(at);
        indices.at[2 * pixel + 8] = uint8_t(at + 1);
        indices.at[2 * pixel + 9] = nothing;
    }
    return indices;
}

// A lane's eight pixels are 24 bytes: two loads that overlap.
template <class Format, class V>
struct NarrowToWords {
    static constexpr size_t units = 8 * lanes<V>, source_bytes = 3, destination_bytes = 2;
    struct Loaded {
        V from_0, from_8;
    };

    Loaded load(const uint8_t *source) const {
        return {load_lanes<V>(source, 24), load_lanes<V>(source + 8, 24)};
    }
    void store(uint8_t *destination, const Loaded &v) const {
        static constexpr LaneIndices of_first_four = narrow_indices(0),
                                     of_last_four = narrow_indices(4);
        constexpr Field first = Format::first, second = Format::second, third = Format::third;

        const V low = shuffle(v.from_0, of_first_four), high = shuffle(v.from_8, of_last_four);
        const V blue_red = low_halves(low, high), green = high_halves(low, high);
        const V words =
            (shift_words<first.place + first.bits - 16>(blue_red) & repeat_word<V>(first.mask())) |
            (shift_words<second.place + second.bits - 8>(green) & repeat_word<V>(second.mask())) |
            (shift_words<third.place + third.bits - 8>(blue_red) & repeat_word<V>(third.mask()));
        rows::store(destination, words);
    }
};

// --- 16 bits to 24 ------------------------------------------------------------------------------

// Double words to three bytes each, turned so that the four pixels of group `group` have their
// bytes where they belong in the 48 bytes of a lane: only the choice of vector is left.
constexpr LaneIndices widen_indices(int group) {
    LaneIndices indices{};
    for (uint8_t &index : indices.at)
        index = nothing;
    for (int i = 0; i < 12; ++i)
        indices.at[(12 * group + i) % 16] = uint8_t(i / 3 * 4 + i % 3);
    return indices;
}

template <class Format, class V>
struct WidenWords {
    static constexpr size_t units = 16 * lanes<V>, source_bytes = 2, destination_bytes = 3;
    struct Loaded {
        V first, second;
    };

    Loaded load(const uint8_t *source) const {
        return {load_lanes<V>(source, 32), load_lanes<V>(source + 16, 32)};
    }
    void store(uint8_t *destination, const Loaded &v) const {
        static constexpr LaneIndices group_0 = widen_indices(0), group_1 = widen_indices(1),
                                     group_2 = widen_indices(2), group_3 = widen_indices(3);
        const WidePixels<V> first = widen_words<Format>(v.first);
        const WidePixels<V> second = widen_words<Format>(v.second);
        const V p0 = shuffle(first.low, group_0), p1 = shuffle(first.high, group_1);
        const V p2 = shuffle(second.low, group_2), p3 = shuffle(second.high, group_3);
        store_lanes(destination, 48, choose_dwords<0b1000>(p0, p1));
        store_lanes(destination + 16, 48, choose_dwords<0b1100>(p1, p2));
        store_lanes(destination + 32, 48, choose_dwords<0b1110>(p2, p3));
    }
};

// --- bits to bytes ------------------------------------------------------------------------------

// Pixel i of a group of eight is bit 7 - i.
template <class V>
struct BitToByte {
    static constexpr size_t units = 8, source_bytes = 1, destination_bytes = 8;
    using Loaded = V; // the eight bytes, in every lane

    explicit BitToByte(uint8_t value) : set(repeat_byte<V>(value)) {}

    Loaded load(const uint8_t *source) const { return repeat_lane<V>(load_8(source)); }
    void store(uint8_t *destination, Loaded groups) const {
        struct alignas(32) Bytes {
            uint8_t at[64];
        };
        static constexpr Bytes group_of_pixel = [] {
            Bytes bytes{};
            for (int i = 0; i < 64; ++i)
                bytes.at[i] = uint8_t(i / 8);
            return bytes;
        }();
        static constexpr LaneIndices bit_of_pixel{128, 64, 32, 16, 8, 4, 2, 1,
                                                  128, 64, 32, 16, 8, 4, 2, 1};
        const V bits = repeat_lane<V>(load_16(bit_of_pixel.at));
        for (size_t i = 0; i < 64; i += sizeof(V)) {
            const V spread = shuffle(groups, rows::load<V>(group_of_pixel.at + i));
            rows::store(destination + i, equal_bytes(spread & bits, bits) & set);
        }
    }

    V set;
};

// --- bytes to bits ------------------------------------------------------------------------------

template <class V>
struct ByteToBit {
    static constexpr size_t units = 8, source_bytes = 8, destination_bytes = 1;
    static constexpr size_t vectors = 64 / sizeof(V);
    struct Loaded {
        V v[vectors];
    };

    explicit ByteToBit(uint8_t value) : threshold(repeat_byte<V>(value)) {}

    Loaded load(const uint8_t *source) const {
        Loaded loaded;
        for (size_t i = 0; i < vectors; ++i)
            loaded.v[i] = rows::load<V>(source + i * sizeof(V));
        return loaded;
    }
    // The mask of a vector has its first byte lowest; the first pixel is the highest bit.
    void store(uint8_t *destination, const Loaded &loaded) const {
        static constexpr LaneIndices backwards{7,  6,  5,  4,  3,  2,  1, 0,
                                               15, 14, 13, 12, 11, 10, 9, 8};
        for (size_t i = 0; i < vectors; ++i) {
            const V pixels = shuffle(loaded.v[i], backwards);
            const V not_above = equal_bytes(min_bytes(pixels, threshold), pixels);
            store_complement(destination + i * sizeof(V) / 8, top_bits(not_above));
        }
    }

    V threshold;
};

} // namespace
} // namespace q32::rows
