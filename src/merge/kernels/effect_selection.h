// Choosing pixels by luminance, a vector of weights at a time, written once for all instruction
// sets.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/effect_kernels.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

namespace q32::merge {
namespace {

// --- weighed sums of colours --------------------------------------------------------------------

// 30 first + 59 second + 11 third, as words, of half as many pixels as a vector has bytes. The
// other half begins at second_sums. Packed, the two are in order where lanes have pixels of their
// own.
template <class V>
constexpr size_t second_sums = sizeof(V) == 64 ? 96 : 24;

#ifdef __SSE4_1__

// Four pixels from byte `begin` on: pairs of the first and the second sample, then pairs of the
// third and nothing.
constexpr LaneBytes pair_indices(int begin) {
    return lane_by([=](int i) {
        const int at = begin + 3 * (i % 8 / 2);
        return i < 8 ? at + i % 2 : i % 2 == 0 ? at + 2 : nothing;
    });
}

// Every lane has eight pixels, in two loads that overlap, and leaves the next eight to the second
// sums.
template <class V>
V luminance_sums(const uint8_t *pixels) {
    static constexpr LaneBytes first_four = pair_indices(0), last_four = pair_indices(4);
    static constexpr LaneBytes shares{30, 59, 30, 59, 30, 59, 30, 59, 11, 0, 11, 0, 11, 0, 11, 0};
    const auto products = [](V bytes, const LaneBytes &indices) {
        const V pairs = shuffle_u8(bytes, as_vector<V>(indices));
        return sum_products_u8_i8(pairs, as_vector<V>(shares));
    };
    const V low = products(load_lanes<V>(pixels, 48), first_four);
    const V high = products(load_lanes<V>(pixels + 8, 48), last_four);
    return add_u16(interleave_low_u64(low, high), interleave_high_u64(low, high));
}

#else

// Four pixels from byte `begin` on, as double words. In between, a pixel has four words, the last
// of which is of its neighbour and counts nothing.
template <int begin>
V16 luminance_sums_of_four(V16 bytes) {
    const V16 first_pair =
        interleave_low_u32(_mm_srli_si128(bytes, begin), _mm_srli_si128(bytes, begin + 3));
    const V16 second_pair =
        interleave_low_u32(_mm_srli_si128(bytes, begin + 6), _mm_srli_si128(bytes, begin + 9));
    const V16 shares = _mm_setr_epi16(30, 59, 11, 0, 30, 59, 11, 0);
    const auto halves = [&](V16 pair) { // first and second: dwords 0 and 2; third: 1 and 3
        const V16 sums = sum_products_i16(widen_u8_to_u16<0>(pair), shares);
        return _mm_shuffle_epi32(sums, _MM_SHUFFLE(3, 1, 2, 0));
    };
    const V16 first = halves(first_pair), second = halves(second_pair);
    return add_u32(interleave_low_u64(first, second), interleave_high_u64(first, second));
}

template <class V>
V luminance_sums(const uint8_t *pixels) {
    return pack_i32_to_i16_in_lanes(luminance_sums_of_four<0>(load_16(pixels)),
                                    luminance_sums_of_four<4>(load_16(pixels + 8)));
}

#endif

#ifdef __AVX512VBMI__

// Pairs of two samples of each of 32 pixels, out of the vectors at bytes 0 and 32.
constexpr ByteTable<64> pair_indices(int first, int second) {
    return bytes_by<64>([=](int i) {
        const int at = i / 2 * 3 + (i % 2 == 0 ? first : second);
        return at < 64 ? at : at - 32 + 64;
    });
}

template <>
inline V64 luminance_sums<V64>(const uint8_t *pixels) {
    static constexpr auto first_and_second = pair_indices(0, 1), third_twice = pair_indices(2, 2);
    const V64 begin = load<V64>(pixels), end = load<V64>(pixels + 32);
    const auto products = [&](const ByteTable<64> &indices, int shares) {
        const V64 pairs = _mm512_permutex2var_epi8(begin, as_vector<V64>(indices), end);
        return sum_products_u8_i8(pairs, repeat_u16<V64>(shares));
    };
    return add_u16(products(first_and_second, 30 + 256 * 59), products(third_twice, 11));
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
            return shift_right_u16<3>(multiply_high_u16(sums, repeat_u16<V>(5243)));
        };
        return pack_i16_to_u8_in_lanes(hundredth(luminance_sums<V>(pixels)),
                                       hundredth(luminance_sums<V>(pixels + second_sums<V>)));
    }
}

// Bytes that are 0 where the pixel does not act, and only there.
template <class V, Comparison comparison, size_t samples>
V acting(const uint8_t *base, const uint8_t *overlay) {
    if constexpr (comparison == Comparison::lighter_by_sums) {
        const auto excess = [=](size_t at) {
            return subtract_u16(luminance_sums<V>(overlay + at), luminance_sums<V>(base + at));
        };
        return pack_i16_to_u8_in_lanes(excess(0), excess(second_sums<V>));
    } else {
        const V of_base = luminances<V, samples>(base);
        const V of_overlay = luminances<V, samples>(overlay);
        return comparison == Comparison::lighter ? subtract_saturating_u8(of_overlay, of_base)
                                                 : subtract_saturating_u8(of_base, of_overlay);
    }
}

template <class V, Comparison comparison, size_t samples>
V selection(const uint8_t *weights, const uint8_t *base, const uint8_t *overlay) {
    const V acts = acting<V, comparison, samples>(base, overlay);
    constexpr bool sums_in_order = samples == 1 || sizeof(V) != 64;
    return keep_where_set_u8(sums_in_order ? acts : packed_in_order(acts), load<V>(weights));
}

} // namespace
} // namespace q32::merge
