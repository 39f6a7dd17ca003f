// Choosing pixels by luminance, a vector of weights at a time, written once for all instruction
// sets.
//
// Private to the file that includes it, as arithmetic.h.
#pragma once

#include "merge/kernels/arithmetic.h"
#include "merge/kernels/effect_kernels.h"

namespace q32::merge {
namespace {

// --- weighed sums of colours --------------------------------------------------------------------

// 30 first + 59 second + 11 third, as words, of half as many pixels as a vector has bytes. The
// other half begins at second_sums; in_order undoes what packing the two does to their order.
template <class V>
constexpr size_t second_sums = 24;

template <class V>
V in_order(V packed) {
    return packed;
}

#ifdef __SSE4_1__

struct alignas(16) LaneBytes {
    uint8_t at[16];
};

// Four pixels from byte `begin` on: pairs of the first and the second sample, then pairs of the
// third and nothing.
constexpr LaneBytes pair_indices(int begin) {
    constexpr uint8_t nothing = 0x80;
    LaneBytes indices{};
    for (int pixel = 0; pixel < 4; ++pixel) {
        const int at = begin + 3 * pixel;
        indices.at[2 * pixel] = uint8_t(at);
        indices.at[2 * pixel + 1] = uint8_t(at + 1);
        indices.at[2 * pixel + 8] = uint8_t(at + 2);
        indices.at[2 * pixel + 9] = nothing;
    }
    return indices;
}

// Every lane has eight pixels, in two loads that overlap, and leaves the next eight to the second
// sums.
template <class V>
V luminance_sums(const uint8_t *pixels) {
    static constexpr LaneBytes first_four = pair_indices(0), last_four = pair_indices(4);
    static constexpr LaneBytes shares{30, 59, 30, 59, 30, 59, 30, 59, 11, 0, 11, 0, 11, 0, 11, 0};
    const auto products = [](V bytes, const LaneBytes &indices) {
        const V pairs = shuffle(bytes, repeat_lane<V>(rows::load_16(indices.at)));
        return sum_byte_products(pairs, repeat_lane<V>(rows::load_16(shares.at)));
    };
    const V low = products(rows::load_lanes<V>(pixels, 48), first_four);
    const V high = products(rows::load_lanes<V>(pixels + 8, 48), last_four);
    return add_words(rows::low_halves(low, high), rows::high_halves(low, high));
}

#else

// Four pixels from byte `begin` on, as double words. In between, a pixel has four words, the last
// of which is of its neighbour and counts nothing.
template <int begin>
V16 luminance_sums_of_four(V16 bytes) {
    const V16 first_pair =
        _mm_unpacklo_epi32(_mm_srli_si128(bytes, begin), _mm_srli_si128(bytes, begin + 3));
    const V16 second_pair =
        _mm_unpacklo_epi32(_mm_srli_si128(bytes, begin + 6), _mm_srli_si128(bytes, begin + 9));
    const V16 shares = _mm_setr_epi16(30, 59, 11, 0, 30, 59, 11, 0);
    const auto halves = [&](V16 pair) { // first and second: dwords 0 and 2; third: 1 and 3
        const V16 sums = _mm_madd_epi16(interleave_low_bytes(pair, zero<V16>()), shares);
        return _mm_shuffle_epi32(sums, _MM_SHUFFLE(3, 1, 2, 0));
    };
    const V16 first = halves(first_pair), second = halves(second_pair);
    return _mm_add_epi32(rows::low_halves(first, second), rows::high_halves(first, second));
}

template <class V>
V luminance_sums(const uint8_t *pixels) {
    return _mm_packs_epi32(luminance_sums_of_four<0>(rows::load_16(pixels)),
                           luminance_sums_of_four<4>(rows::load_16(pixels + 8)));
}

#endif

#ifdef __AVX512VBMI__

struct alignas(64) PairIndices {
    uint8_t at[64];
};

// Pairs of two samples of each of 32 pixels, out of the vectors at bytes 0 and 32.
constexpr PairIndices pair_indices(size_t first, size_t second) {
    PairIndices indices{};
    for (size_t i = 0; i < 64; ++i) {
        const size_t at = i / 2 * 3 + (i % 2 == 0 ? first : second);
        indices.at[i] = uint8_t(at < 64 ? at : at - 32 + 64);
    }
    return indices;
}

template <>
inline V64 luminance_sums<V64>(const uint8_t *pixels) {
    static constexpr PairIndices first_and_second = pair_indices(0, 1),
                                 third_twice = pair_indices(2, 2);
    const V64 begin = load<V64>(pixels), end = load<V64>(pixels + 32);
    const auto products = [&](const PairIndices &indices, int shares) {
        const V64 pairs = _mm512_permutex2var_epi8(begin, load<V64>(indices.at), end);
        return sum_byte_products(pairs, repeat_word<V64>(shares));
    };
    return add_words(products(first_and_second, 30 + 256 * 59), products(third_twice, 11));
}

template <>
constexpr size_t second_sums<V64> = 96;

template <>
inline V64 in_order<V64>(V64 packed) {
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), packed);
}

#endif

// --- comparisons --------------------------------------------------------------------------------

// Of as many pixels as a vector has bytes. 5243 / 2^19 is 1 / 100, exact for every sum.
template <class V, size_t samples>
V luminances(const uint8_t *pixels) {
    if constexpr (samples == 1) {
        return load<V>(pixels);
    } else {
        const auto hundredth = [](V sums) {
            return words_down<3>(multiply_high(sums, repeat_word<V>(5243)));
        };
        return pack_words(hundredth(luminance_sums<V>(pixels)),
                          hundredth(luminance_sums<V>(pixels + second_sums<V>)));
    }
}

// Bytes that are 0 where the pixel does not act, and only there.
template <class V, Comparison comparison, size_t samples>
V acting(const uint8_t *base, const uint8_t *overlay) {
    if constexpr (comparison == Comparison::lighter_by_sums) {
        const auto excess = [=](size_t at) {
            return subtract_words(luminance_sums<V>(overlay + at), luminance_sums<V>(base + at));
        };
        return pack_words(excess(0), excess(second_sums<V>));
    } else {
        const V of_base = luminances<V, samples>(base);
        const V of_overlay = luminances<V, samples>(overlay);
        return comparison == Comparison::lighter ? subtract_bytes_saturated(of_overlay, of_base)
                                                 : subtract_bytes_saturated(of_base, of_overlay);
    }
}

#ifdef __AVX512VBMI__
inline V64 kept_where_set(V64 weights, V64 bytes) {
    return _mm512_maskz_mov_epi8(_mm512_test_epi8_mask(bytes, bytes), weights);
}
#endif

template <class V>
V kept_where_set(V weights, V bytes) {
    return weights & ~rows::equal_bytes(bytes, zero<V>());
}

template <class V, Comparison comparison, size_t samples>
V selection(const uint8_t *weights, const uint8_t *base, const uint8_t *overlay) {
    const V acts = acting<V, comparison, samples>(base, overlay);
    return kept_where_set(load<V>(weights), samples == 1 ? acts : in_order(acts));
}

} // namespace
} // namespace q32::merge
