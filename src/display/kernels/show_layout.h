// Where samples lie in memory, and where in vectors: a vector for each channel, words in the order
// of bitmaps and bits in theirs, thresholds beside the samples that they belong to.
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

// A piece of a vector is what a choice of bytes can reach: a lane, or all 64 bytes. Pieces have
// pixels of their own, so that one rule gives the bytes of each.
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

// The same pixels as they lie in memory. Each piece of the three vectors has whole pixels.
template <class V>
struct PixelVectors {
    V v[3];

    static PixelVectors load(const uint8_t *at) {
        if constexpr (sizeof(V) == 64)
            return {simd::load<V>(at), simd::load<V>(at + 64), simd::load<V>(at + 128)};
        else
            return {load_lanes<V>(at, 48), load_lanes<V>(at + 16, 48), load_lanes<V>(at + 32, 48)};
    }
};

// Every place of a piece holds channel k of a pixel in exactly one of the three vectors, so that a
// choice of bytes gathers a channel; the order is put right afterwards. (The choice is by top bits
// because constant masks of 64 bytes are best made from vectors.)
template <class V>
constexpr VectorBytes<V> places_of(int channel, int vector) {
    return piece_by<V>([=](int p) { return (reach<V> * vector + p) % 3 == channel ? 0xFF : 0; });
}

#ifdef __SSE4_1__

template <int channel, class V>
V at_places(const PixelVectors<V> &pixels) {
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
Channels<V> channels_of(const PixelVectors<V> &pixels) {
    return {from_places<Order, 0>(at_places<0>(pixels)),
            from_places<Order, 1>(at_places<1>(pixels)),
            from_places<Order, 2>(at_places<2>(pixels))};
}

#else

// The first and the second half of 48 bytes shuffled into each other.
inline PixelVectors<V16> shuffled_halves(const PixelVectors<V16> &p) {
    return {{interleave_low_u8(p.v[0], _mm_srli_si128(p.v[1], 8)),
             interleave_high_u8(p.v[0], _mm_slli_si128(p.v[2], 8)),
             interleave_low_u8(p.v[1], _mm_srli_si128(p.v[2], 8))}};
}

// Each time, byte i goes to 2i mod 47. After four times it is at 16i mod 47, which takes byte
// 3p + k to p + 16k: channel k of pixel p.
template <class Order>
Channels<V16> channels_of(const PixelVectors<V16> &pixels) {
    const PixelVectors<V16> sorted =
        shuffled_halves(shuffled_halves(shuffled_halves(shuffled_halves(pixels))));
    return {sorted.v[0], sorted.v[1], sorted.v[2]};
}

#endif

// --- red and blue swapped ------------------------------------------------------------------------

// As words: those of the lower or upper half of each lane of a vector of bytes.
#ifdef __SSE4_1__

constexpr int swapped(int sample) {
    return sample + 2 - 2 * (sample % 3);
}

// Taken out of memory, where they are never more than a window away: 16 bytes for each lane, or 64
// for all.
template <class V, int vector, int half>
class SwappedWindows {
public:
    static V load(const uint8_t *rgb) {
        if constexpr (sizeof(V) == 64)
            return simd::load<V>(rgb + begin(0));
        else
            return load_lanes<V>(rgb + begin(0), size_t(begin(1) - begin(0)));
    }

    static V words(V windows) {
#ifdef __AVX512VBMI__
        if constexpr (sizeof(V) == 64)
            return _mm512_maskz_permutexvar_epi8(_mm512_movepi8_mask(as_vector<V>(low_bytes)),
                                                 as_vector<V>(indices), windows);
        else
#endif
            return shuffle_u8(windows, as_vector<V>(indices));
    }

private:
    static constexpr int in_window = reach<V> / 2;

    static constexpr int source_of(int word) {
        return swapped(int(sizeof(V)) * vector + 16 * (word / 8) + 8 * half + word % 8);
    }
    // Of window 1, too, where vectors have one lane: load_lanes is given the distance and does not
    // look at it.
    static constexpr int begin(int window) {
        int begin = 3 * int(sizeof(V)) - reach<V>;
        for (int word = in_window * window; word < in_window * (window + 1); ++word)
            begin = source_of(word) < begin ? source_of(word) : begin;
        return begin;
    }

    static constexpr VectorBytes<V> indices = vector_by<V>([](int i) {
        const int word = i / 2;
        return i % 2 == 0 ? source_of(word) - begin(word / in_window) : nothing;
    });
    // Of each word. A mask that is a number would be stored in two halves and loaded as a whole in
    // 32-bit code, for which a processor waits longer than a short run takes.
    static constexpr VectorBytes<V> low_bytes =
        vector_by<V>([](int i) { return i % 2 == 0 ? 0xFF : 0; });
};

template <class V>
struct SwappedWords {
    V windows[3][2];

    static SwappedWords load(const uint8_t *rgb) {
        return {{{SwappedWindows<V, 0, 0>::load(rgb), SwappedWindows<V, 0, 1>::load(rgb)},
                 {SwappedWindows<V, 1, 0>::load(rgb), SwappedWindows<V, 1, 1>::load(rgb)},
                 {SwappedWindows<V, 2, 0>::load(rgb), SwappedWindows<V, 2, 1>::load(rgb)}}};
    }
    template <int vector, int half>
    V words() const {
        return SwappedWindows<V, vector, half>::words(windows[vector][half]);
    }
};

#else

template <class V>
struct SwappedWords {
    V bgr[3];

    static SwappedWords load(const uint8_t *rgb) {
        return {{swapped<0>(rgb), swapped<1>(rgb), swapped<2>(rgb)}};
    }
    template <int vector, int half>
    V words() const {
        return widen_u8_to_u16<half>(bgr[vector]);
    }

private:
    // Red and blue come from two bytes further on and two bytes back.
    template <int vector>
    static V swapped(const uint8_t *rgb) {
        static constexpr VectorBytes<V> red = places_of<V>(0, vector),
                                        green = places_of<V>(1, vector),
                                        blue = places_of<V>(2, vector);
        const uint8_t *const at = rgb + sizeof(V) * vector;
        const V here = simd::load<V>(at);
        const V further_on = vector < 2 ? simd::load<V>(at + 2) : _mm_srli_si128(here, 2);
        const V further_back = vector > 0 ? simd::load<V>(at - 2) : _mm_slli_si128(here, 2);
        return (further_on & as_vector<V>(red)) | (here & as_vector<V>(green)) |
               (further_back & as_vector<V>(blue));
    }
};

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

// Beside the samples of pixels that lie in a row in each piece, in vector number `vector` of three.
// Pieces have whole eights of pixels.
#ifdef __SSE4_1__
template <int vector, class V, size_t piece>
V beside_samples(const Thresholds &thresholds) {
    static constexpr VectorBytes<V> pixel_of_sample =
        vector_by<V>([](int i) { return (vector * int(piece) + i % int(piece)) / 3 % 8; });
    return shuffle_u8(beside_pixels<V>(thresholds), as_vector<V>(pixel_of_sample));
}
#else
template <int vector, class V, size_t piece>
V beside_samples(const Thresholds &thresholds) {
    static_assert(piece == sizeof(V));
    uint8_t beside[sizeof(V)];
    for (size_t i = 0; i < sizeof(V); ++i)
        beside[i] = thresholds[(vector * sizeof(V) + i) / 3 % 8];
    return load<V>(beside);
}
#endif

} // namespace
} // namespace q32::display
