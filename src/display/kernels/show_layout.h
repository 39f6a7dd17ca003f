// Where samples lie in memory, and where in vectors: a vector for each channel, bits in the order
// of bitmaps, thresholds beside the samples that they belong to.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "display/kernels/show_kernels.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

#include <bit>
#include <cstring>

namespace q32::display {
namespace {

// --- order ---------------------------------------------------------------------------------------

// A run is taken in pieces of what a choice of bytes can reach, so that every vector has whole
// pixels in each. A rule gives the bytes of one piece for all.
template <class V, class Rule>
constexpr VectorBytes<V> piece_by(Rule rule) {
    return vector_by<V>([=](int i) { return rule(i % reach<V>); });
}

// Which pixel of its eight a byte belongs to.
struct InOrder {
    static constexpr int pixel(int i) { return i; }
};
struct EightsTurned {
    static constexpr int pixel(int i) { return i ^ 7; }
};

// A mask has its first byte lowest, the first of eight pixels is the highest bit. Where bytes can
// be shuffled they are turned before they become bits.
#ifdef __SSE4_1__
using BitOrder = EightsTurned;
#else
using BitOrder = InOrder;
#endif

// --- channels ------------------------------------------------------------------------------------

// As many pixels as a vector has bytes.
template <class V>
struct Channels {
    V red, green, blue;
};

// The same pixels as they lie in memory. Each piece has whole pixels: in three vectors.
template <class V>
struct Pixels {
    V v[3];

    static Pixels load(const uint8_t *at) {
        if constexpr (sizeof(V) == 64)
            return {simd::load<V>(at), simd::load<V>(at + 64), simd::load<V>(at + 128)};
        else
            return {load_lanes<V>(at, 48), load_lanes<V>(at + 16, 48), load_lanes<V>(at + 32, 48)};
    }
};

#ifdef __SSE4_1__

// Every place of a piece holds channel k of a pixel in exactly one of the three vectors, so that a
// choice of bytes gathers a channel; in which order is seen afterwards. (The choice is by top bits
// because constant masks of 64 bytes are best made from vectors.)
template <class V>
constexpr VectorBytes<V> places_of(int channel, int vector) {
    return piece_by<V>([=](int p) { return (reach<V> * vector + p) % 3 == channel ? 0xFF : 0; });
}

template <int channel, class V>
V at_places(const Pixels<V> &pixels) {
    static constexpr VectorBytes<V> from_1 = places_of<V>(channel, 1),
                                    from_2 = places_of<V>(channel, 2);
    return select_by_top_bits_u8(
        as_vector<V>(from_2), pixels.v[2],
        select_by_top_bits_u8(as_vector<V>(from_1), pixels.v[1], pixels.v[0]));
}

template <class Order, int channel, class V>
V from_places(V v) {
    static constexpr VectorBytes<V> places =
        piece_by<V>([](int i) { return (3 * Order::pixel(i) + channel) % reach<V>; });
    return permute_u8(v, as_vector<V>(places));
}

template <class Order, class V>
Channels<V> channels_of(const Pixels<V> &pixels) {
    return {from_places<Order, 0>(at_places<0>(pixels)),
            from_places<Order, 1>(at_places<1>(pixels)),
            from_places<Order, 2>(at_places<2>(pixels))};
}

#else

// The first and the second half of 48 bytes shuffled into each other.
inline Pixels<V16> shuffled_halves(const Pixels<V16> &p) {
    return {{interleave_low_u8(p.v[0], _mm_srli_si128(p.v[1], 8)),
             interleave_high_u8(p.v[0], _mm_slli_si128(p.v[2], 8)),
             interleave_low_u8(p.v[1], _mm_srli_si128(p.v[2], 8))}};
}

// Each time, byte i goes to 2i mod 47. After four times it is at 16i mod 47, which takes byte
// 3p + k to p + 16k: channel k of pixel p.
template <class Order>
Channels<V16> channels_of(const Pixels<V16> &pixels) {
    const Pixels<V16> sorted =
        shuffled_halves(shuffled_halves(shuffled_halves(shuffled_halves(pixels))));
    return {sorted.v[0], sorted.v[1], sorted.v[2]};
}

#endif

// --- bits ----------------------------------------------------------------------------------------

#ifdef __SSE4_1__

template <class V>
V in_bit_order(V bytes) {
    static constexpr VectorBytes<V> turned = piece_by<V>([](int i) { return i % 16 ^ 7; });
    return shuffle_u8(bytes, as_vector<V>(turned));
}

template <class Mask>
void store_bits(uint8_t *at, Mask reached) {
    const auto bits = top_bits(reached);
    std::memcpy(at, &bits, sizeof bits);
}

#else

inline V16 in_bit_order(V16 bytes) {
    return bytes;
}

// The sum of the bits of eight different pixels is their byte.
inline void store_bits(uint8_t *at, V16 reached) {
    const V16 bit_of_pixel = _mm_set1_epi64x(0x0102040810204080);
    const V16 bytes = _mm_sad_epu8(reached & bit_of_pixel, _mm_setzero_si128());
    at[0] = uint8_t(_mm_cvtsi128_si32(bytes));
    at[1] = uint8_t(_mm_extract_epi16(bytes, 4));
}

#endif

// --- thresholds ----------------------------------------------------------------------------------

// Seen from a pixel further on.
inline Thresholds seen_from(const Thresholds &thresholds, size_t pixel) {
    return std::bit_cast<Thresholds>(
        std::rotr(std::bit_cast<std::uint64_t>(thresholds), int(8 * (pixel % 8))));
}

// Beside the pixels of a channel.
template <class V>
V beside_pixels(const Thresholds &thresholds) {
    const V16 eight = load_8(thresholds.data());
    return repeat_lane<V>(interleave_low_u64(eight, eight));
}

// Beside the samples of pixels that lie in a row, in vector number `vector` of three.
#ifdef __SSE4_1__
template <int vector, class V>
V beside_samples(const Thresholds &thresholds) {
    static constexpr VectorBytes<V> pixel_of_sample =
        vector_by<V>([](int i) { return (vector * int(sizeof(V)) + i) / 3 % 8; });
    return shuffle_u8(beside_pixels<V>(thresholds), as_vector<V>(pixel_of_sample));
}
#else
template <int vector, class V>
V beside_samples(const Thresholds &thresholds) {
    uint8_t beside[sizeof(V)];
    for (size_t i = 0; i < sizeof(V); ++i)
        beside[i] = thresholds[(vector * sizeof(V) + i) / 3 % 8];
    return load<V>(beside);
}
#endif

} // namespace
} // namespace q32::display
