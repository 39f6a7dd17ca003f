// The common half of widening 16-bit pixels: from words to pixels of four bytes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/formats.h"
#include "simd/operations.h"

namespace q32::rows {
namespace {

// Shifts words up, or down when the count is negative.
template <int count, class V>
inline V shift_words(V v) {
    if constexpr (count >= 0)
        return shift_left_u16<count>(v);
    else
        return shift_right_u16<-count>(v);
}

// Pixels as double words: first, second, third channel, and a byte that means nothing. The words of
// each lane give four pixels to `low` and four to `high`.
template <class V>
struct WidePixels {
    V low, high;
};

// A field goes to the top of its byte. What comes along below it needs no mask, because those bits
// are set anyway.
template <class Format, class V>
inline WidePixels<V> widen_words(V words) {
    constexpr auto top = [](Field field) { return field.place + field.bits; };
    constexpr auto ones = [](Field field) { return 0xFF >> field.bits; };
    constexpr Field first = Format::first, second = Format::second, third = Format::third;

    const V red = shift_words<8 - top(first)>(words);
    const V green = shift_words<16 - top(second)>(words) & repeat_u16<V>(0xFF00);
    const V blue = shift_words<8 - top(third)>(words);
    const V red_green = red | green | repeat_u16<V>(ones(first) | ones(second) << 8);
    const V blue_rest = blue | repeat_u16<V>(ones(third));
    return {interleave_low_u16(red_green, blue_rest), interleave_high_u16(red_green, blue_rest)};
}

} // namespace
} // namespace q32::rows
