// What each rule makes of an overlay sample s and a base sample b: once for a sample, as it is
// defined, and beside it for vectors of samples. How results are weighed into the base and how runs
// are walked is the forms' part.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/blend_kernels.h"
#include "merge/kernels/word_constants.h"
#include "simd/operations.h"

#include <algorithm>

namespace q32::merge {
namespace {

// --- roundings ----------------------------------------------------------------------------------

// x / 255, truncated, from words that hold x + 1: with x = 255 q + e, (x + 1) x 257 is 65536 q and
// 257 (e + 1) - q, which is neither below 0 nor as much as 65536.
template <class V>
V over_255(V words_and_1) {
    return multiply_high_u16(words_and_1, kept_u16<257, V>());
}

// A product of two samples over 255. Divided: rounds up from a remainder of 127 on.
template <Rounding rounding>
constexpr int product(int x, int y) {
    const int quotient = x * y / 255, remainder = x * y % 255;
    return rounding == Rounding::divided && remainder >= 127 ? quotient + 1 : quotient;
}

// The same for words that hold 256 times a sample.
template <Rounding rounding, class V>
V product_words(V x256, V y256) {
    constexpr int to_next = rounding == Rounding::divided ? 255 - 127 : 0;
    return over_255(add_u16(multiply_high_u16(x256, y256), kept_u16<to_next + 1, V>()));
}

// (a | b) ^ flips, which is one instruction in 64 bytes.
template <class V>
V either_flipped(V a, V b, V flips) {
#ifdef __AVX512VBMI__
    if constexpr (sizeof(V) == 64)
        return _mm512_ternarylogic_epi64(a, b, flips, 0x56);
#endif
    return (a | b) ^ flips;
}

// Result r weighed into base sample b.
template <Rounding rounding>
constexpr int weighed(int r, int b, int weight) {
    const int x = r * weight + b * (255 - weight);
    return rounding == Rounding::divided ? x / 255 : (x >> 8) + (x != 0);
}

// --- rules --------------------------------------------------------------------------------------

// A rule has result(s, b) and one wide form of it:
//   wide(s, b)          the results of vectors of samples
//   pairs<flips>(s, b)  where results come as words: result and base of each sample, side by side,
//                       with the bits of `flips` inverted

struct Normal {
    static constexpr Rule rule = Rule::normal;
    static constexpr int result(int s, int) { return s; }

    template <class V>
    static V wide(V s, V) {
        return s;
    }
};

struct Difference {
    static constexpr Rule rule = Rule::difference;
    static constexpr int result(int s, int b) { return s > b ? s - b : b - s; }

    template <class V>
    static V wide(V s, V b) {
        return subtract_saturating_u8(s, b) | subtract_saturating_u8(b, s);
    }
};

struct Add {
    static constexpr Rule rule = Rule::add;
    static constexpr int result(int s, int b) { return std::min(s + b, 255); }

    template <class V>
    static V wide(V s, V b) {
        return add_saturating_u8(s, b);
    }
};

struct Subtract {
    static constexpr Rule rule = Rule::subtract;
    static constexpr int result(int s, int b) { return std::max(s - b, 0); }

    template <class V>
    static V wide(V s, V b) {
        return subtract_saturating_u8(s, b);
    }
};

template <Rounding rounding>
struct Multiply {
    static constexpr Rule rule = Rule::multiply;
    static constexpr int result(int s, int b) { return product<rounding>(s, b); }

    template <int flips, class V>
    static Pairs<V> pairs(V s, V b) {
        const Pairs<V> s256 = pairs_u8(zero<V>(), s), b256 = pairs_u8(zero<V>(), b);
        const V flipped = repeat_u8<V>(flips);
        return {either_flipped(product_words<rounding>(s256.low, b256.low), b256.low, flipped),
                either_flipped(product_words<rounding>(s256.high, b256.high), b256.high, flipped)};
    }
};

template <Rounding rounding>
struct Screen {
    static constexpr Rule rule = Rule::screen;
    static constexpr int result(int s, int b) { return 255 - product<rounding>(255 - s, 255 - b); }

    template <int flips, class V>
    static Pairs<V> pairs(V s, V b) {
        return Multiply<rounding>::template pairs<255 - flips>(inverted(s), inverted(b));
    }
};

// The premultiplied rules do not look at the base: they give back the overlay sample as it was
// before it was multiplied with the mask m, which is not 0. Their wide form stops before the
// division; within_mask tells whether what it gives is never above the mask.

struct PremultipliedBlack {
    static constexpr Rule rule = Rule::premultiplied_black;
    static constexpr bool within_mask = false;
    static constexpr int unpremultiplied(int s, int m) { return std::min(s * 255 / m, 255); }

    template <class V>
    static V over_black(V s, V) {
        return s;
    }
};

struct PremultipliedWhite {
    static constexpr Rule rule = Rule::premultiplied_white;
    static constexpr bool within_mask = true;
    static constexpr int unpremultiplied(int s, int m) {
        return PremultipliedBlack::unpremultiplied(std::max(s + m - 255, 0), m);
    }

    template <class V>
    static V over_black(V s, V m) {
        return subtract_saturating_u8(s, complement(m));
    }
};

template <class R>
concept Premultiplied = requires {
    R::unpremultiplied(255, 255);
};

// --- the list -----------------------------------------------------------------------------------

template <class...>
struct RuleList {};

// A rule that is added here has all its forms.
template <Rounding rounding>
using Rules = RuleList<Normal, Difference, Add, Subtract, Multiply<rounding>, Screen<rounding>,
                       PremultipliedBlack, PremultipliedWhite>;

} // namespace
} // namespace q32::merge
