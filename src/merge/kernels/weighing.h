// The arithmetic of blending on one vector of samples: a rule's results weighed into the base.
//
// Private to the file that includes it, as rules.h.
#pragma once

#include "merge/kernels/rules.h"

namespace q32::merge {
namespace {

// Sums X = r x w + b x (255 - w) from words of two samples and of their two weights. The one
// instruction for it takes samples with their top bit inverted as signed, and gives X - 32640.
#ifdef __SSE4_1__
constexpr int sample_flips = 0x80, sum_offset = 128 * 255;

template <class V>
V weighed_sums(V samples, V weights) {
    return sum_products_u8_i8(weights, samples);
}
#else
constexpr int sample_flips = 0, sum_offset = 0;

template <class V>
V weighed_sums(V samples, V weights) {
    const V first = repeat_u16<V>(0xFF);
    return add_u16(multiply_low_u16(samples & first, weights & first),
                   multiply_low_u16(shift_right_u16<8>(samples), shift_right_u16<8>(weights)));
}
#endif

// 1 off the words where a and b are equal. Of 64 bytes a comparison gives a mask that may be used
// as such.
template <class V>
V one_off_where_equal(V words, V a, V b) {
#ifdef __AVX512VBMI__
    if constexpr (sizeof(V) == 64)
        return _mm512_mask_add_epi16(words, _mm512_cmpeq_epi16_mask(a, b), words,
                                     kept_u16<0xFFFF, V>());
#endif
    return add_u16(words, equal_u16(a, b));
}

// Sums to samples, by either rounding. Shifted, with signed sums: X / 256 - 127 in one
// multiplication, which the 128 that flips the top bit makes X / 256 + 1; a sum of 0 takes 1 off.
// Without: 256 is added to X before the shift, and 1 taken off a sum of 0.
template <Rounding rounding, class V>
V rounded(Pairs<V> sums) {
    if constexpr (rounding == Rounding::divided) {
        const V and_1 = kept_u16<sum_offset + 1, V>();
        return pack_i16_to_u8_in_lanes(over_255(add_u16(sums.low, and_1)),
                                       over_255(add_u16(sums.high, and_1)));
    }
#ifdef __SSE4_1__
    const auto quotients = [](V x) {
        return one_off_where_equal(multiply_fractions_i16(x, kept_u16<128, V>()), x,
                                   kept_u16<-sum_offset, V>());
    };
    return pack_i16_to_i8_in_lanes(quotients(sums.low), quotients(sums.high)) ^ repeat_u8<V>(0x80);
#else
    const auto quotients = [](V x) {
        return shift_right_u16<8>(add_u16(add_u16(x, kept_u16<256, V>()), equal_u16(x, zero<V>())));
    };
    return pack_i16_to_u8_in_lanes(quotients(sums.low), quotients(sums.high));
#endif
}

// Words of result and base, as weighed_sums takes them.
template <class R, class V>
Pairs<V> samples_of(V overlay, V base) {
    if constexpr (requires { R::template pairs<sample_flips>(overlay, base); }) {
        return R::template pairs<sample_flips>(overlay, base);
    } else {
        const V flips = repeat_u8<V>(sample_flips);
        return pairs_u8(R::wide(overlay, base) ^ flips, base ^ flips);
    }
}

// What a rule makes of the base, under weights as words of w and 255 - w.
template <class R, Rounding rounding, class V>
V blended(V overlay, V base, Pairs<V> weights) {
    const Pairs<V> samples = samples_of<R>(overlay, base);
    return rounded<rounding, V>(
        {weighed_sums(samples.low, weights.low), weighed_sums(samples.high, weights.high)});
}

} // namespace
} // namespace q32::merge
