// The steps that live from the byte shuffle, written once for vectors of one and of two lanes.
// Every lane has its own pixels, so that no byte crosses from lane to lane.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/plain_forms.h"
#include "rows/kernels/swap_steps.h"
#include "rows/kernels/widen_words.h"
#include "simd/byte_table.h"

#include <cstring>

namespace q32::rows {
namespace {

// --- helpers ------------------------------------------------------------------------------------

using simd::shuffle_u8;

template <class V>
inline V shuffle_u8(V v, const LaneBytes &indices) {
    return simd::shuffle_u8(v, as_vector<V>(indices));
}

template <class Mask>
inline void store_complement(uint8_t *at, Mask mask) {
    const Mask complement = Mask(~mask);
    std::memcpy(at, &complement, sizeof complement);
}

// First all three lanes number 0, then number 1: in the order of memory, and as whole vectors,
// which the caches beyond the first take faster than single lanes.
inline void store_by_lanes(uint8_t *at, V16 a, V16 b, V16 c) {
    store(at, a);
    store(at + 16, b);
    store(at + 32, c);
}
#ifdef __AVX2__
inline void store_by_lanes(uint8_t *at, V32 a, V32 b, V32 c) {
    store(at, _mm256_permute2x128_si256(a, b, 0x20));
    store(at + 32, _mm256_blend_epi32(c, a, 0b11110000));
    store(at + 64, _mm256_permute2x128_si256(b, c, 0x31));
}
#endif

// --- 24 bits to 16 ------------------------------------------------------------------------------

// Four pixels from byte `begin` on: words of third and first channel, then words of the second.
constexpr LaneBytes narrow_indices(int begin) {
    return lane_by([=](int i) {
        const int at = begin + 3 * (i % 8 / 2);
        return i < 8 ? at + 2 - i % 2 * 2 : i % 2 == 0 ? at + 1 : nothing;
    });
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
        static constexpr LaneBytes of_first_four = narrow_indices(0),
                                   of_last_four = narrow_indices(4);
        constexpr Field first = Format::first, second = Format::second, third = Format::third;

        const V low = shuffle_u8(v.from_0, of_first_four),
                high = shuffle_u8(v.from_8, of_last_four);
        const V blue_red = interleave_low_u64(low, high), green = interleave_high_u64(low, high);
        const V words =
            (shift_words<first.place + first.bits - 16>(blue_red) & repeat_u16<V>(first.mask())) |
            (shift_words<second.place + second.bits - 8>(green) & repeat_u16<V>(second.mask())) |
            (shift_words<third.place + third.bits - 8>(blue_red) & repeat_u16<V>(third.mask()));
        simd::store(destination, words);
    }
};

// --- 16 bits to 24 ------------------------------------------------------------------------------

// Double words to three bytes each, turned so that the four pixels of group `group` have their
// bytes where they belong in the 48 bytes of a lane: only the choice of vector is left.
constexpr LaneBytes widen_indices(int group) {
    LaneBytes indices = lane_by([](int) { return nothing; });
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
        static constexpr LaneBytes group_0 = widen_indices(0), group_1 = widen_indices(1),
                                   group_2 = widen_indices(2), group_3 = widen_indices(3);
        const WidePixels<V> first = widen_words<Format>(v.first);
        const WidePixels<V> second = widen_words<Format>(v.second);
        const V p0 = shuffle_u8(first.low, group_0), p1 = shuffle_u8(first.high, group_1);
        const V p2 = shuffle_u8(second.low, group_2), p3 = shuffle_u8(second.high, group_3);
        store_by_lanes(destination, select_u32<0b1000>(p1, p0), select_u32<0b1100>(p2, p1),
                       select_u32<0b1110>(p3, p2));
    }
};

// --- bits to bytes ------------------------------------------------------------------------------

// Pixel i of a group of eight is bit 7 - i.
template <class V>
struct BitToByte {
    static constexpr size_t units = 8, source_bytes = 1, destination_bytes = 8;
    static constexpr size_t shortest_in_block = 4;
    using Loaded = V; // the eight bytes, in every lane

    explicit BitToByte(uint8_t value) : set(repeat_u8<V>(value)) {}

    Loaded load(const uint8_t *source) const { return repeat_lane<V>(load_8(source)); }
    void store(uint8_t *destination, Loaded groups) const {
        static constexpr auto group_of_pixel = bytes_by<64>([](int i) { return i / 8; });
        static constexpr LaneBytes bit_of_pixel{128, 64, 32, 16, 8, 4, 2, 1,
                                                128, 64, 32, 16, 8, 4, 2, 1};
        const V bits = as_vector<V>(bit_of_pixel);
        for (size_t i = 0; i < 64; i += sizeof(V)) {
            const V spread = shuffle_u8(groups, simd::load<V>(group_of_pixel.at + i));
            simd::store(destination + i, equal_u8(spread & bits, bits) & set);
        }
    }

    V set;
};

// --- bytes to bits ------------------------------------------------------------------------------

template <class V>
struct ByteToBit {
    static constexpr size_t units = 8, source_bytes = 8, destination_bytes = 1;
    static constexpr size_t vectors = 64 / sizeof(V);
    static constexpr size_t shortest_in_block = 24;
    struct Loaded {
        V v[vectors];
    };

    explicit ByteToBit(uint8_t value) : threshold(repeat_u8<V>(value)) {}

    Loaded load(const uint8_t *source) const {
        Loaded loaded;
        for (size_t i = 0; i < vectors; ++i)
            loaded.v[i] = simd::load<V>(source + i * sizeof(V));
        return loaded;
    }
    // The mask of a vector has its first byte lowest; the first pixel is the highest bit.
    void store(uint8_t *destination, const Loaded &loaded) const {
        static constexpr LaneBytes backwards{7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
        for (size_t i = 0; i < vectors; ++i) {
            const V pixels = shuffle_u8(loaded.v[i], backwards);
            const V not_above = equal_u8(min_u8(pixels, threshold), pixels);
            store_complement(destination + i * sizeof(V) / 8, top_bits(not_above));
        }
    }

    V threshold;
};

// --- the forms ----------------------------------------------------------------------------------

template <class V, const RowKernels &narrower>
struct LaneRows : PlainRows<V, narrower> {
    static constexpr auto bit_to_byte =
        bits_converted<BitToByte<V>, &RowKernels::bit_to_byte, narrower>;
    static constexpr auto byte_to_bit =
        bits_converted<ByteToBit<V>, &RowKernels::byte_to_bit, narrower>;
    static constexpr auto rgb888_to_555 =
        converted<NarrowToWords<Rgb555, V>, &RowKernels::rgb888_to_555, narrower>;
    static constexpr auto rgb888_to_565 =
        converted<NarrowToWords<Rgb565, V>, &RowKernels::rgb888_to_565, narrower>;
    static constexpr auto rgb555_to_888 =
        converted<WidenWords<Rgb555, V>, &RowKernels::rgb555_to_888, narrower>;
    static constexpr auto rgb565_to_888 =
        converted<WidenWords<Rgb565, V>, &RowKernels::rgb565_to_888, narrower>;
    static constexpr auto swap_red_blue =
        converted<SwapRedBlue<V>, &RowKernels::swap_red_blue, narrower>;
};

} // namespace
} // namespace q32::rows
