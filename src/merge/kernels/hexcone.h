// The arithmetic between RGB and hue, saturation and value or lightness, on vectors that hold one
// channel each; where the bytes of a vector come from and go to is colour_layout.h's part.
//
// Division needs a double word for each pixel, so that as much as can be is done before, on bytes.
// A quotient n / d is computed as (2n + 1) / 2d, which truncates to the same but is never close to
// the next whole number: floating point cannot round it there, whichever way it is set to round.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/colour_kernels.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

namespace q32::merge {
namespace {

template <class V>
struct Channels {
    V red, green, blue; // bytes
};

template <class V>
struct Fields {
    V field[3]; // double words, of a quarter of the records
};

// --- out of RGB ----------------------------------------------------------------------------------

// Bytes. `part` is how far the middle sample is from the one where its sextant of hues begins.
template <class V>
struct Ranked {
    V max, min, range, part;
    V hue_begin_low, hue_begin_high; // low and high byte, of the sextant or of no hue
};

// The order of three samples is known from which of the comparisons below hold; they are made into
// a number of four bits.
constexpr uint8_t blue_not_above_red = 4, green_not_above_both = 2, green_not_below_both = 1,
                  all_equal = 8;

struct Sextant {
    int begin;
    bool falling;
};

constexpr Sextant sextant_of(int order) {
    switch (order) {
    case blue_not_above_red | green_not_above_both | green_not_below_both:
        return {0, false};
    case blue_not_above_red | green_not_below_both:
        return {60, true};
    case green_not_below_both:
        return {120, false};
    case green_not_above_both | green_not_below_both:
        return {180, true};
    case green_not_above_both:
        return {240, false};
    case blue_not_above_red | green_not_above_both:
        return {300, true};
    default: // all equal; the other orders cannot be
        return {no_hue, false};
    }
}

template <class Value>
constexpr LaneBytes by_order(Value value) {
    return lane_by([=](int order) { return value(sextant_of(order)); });
}

template <class V>
Ranked<V> rank(const Channels<V> &pixels) {
    static constexpr LaneBytes begin_low = by_order([](Sextant s) { return s.begin & 0xFF; }),
                               begin_high = by_order([](Sextant s) { return s.begin >> 8; }),
                               falling = by_order([](Sextant s) { return s.falling ? 0xFF : 0; });
    const V larger = max_u8(pixels.red, pixels.blue);
    const V smaller = min_u8(pixels.red, pixels.blue);
    const V max = max_u8(larger, pixels.green), min = min_u8(smaller, pixels.green);
    const V middle = max_u8(smaller, min_u8(larger, pixels.green));

    const V order = (equal_u8(larger, pixels.red) & repeat_u8<V>(blue_not_above_red)) |
                    (equal_u8(larger, max) & repeat_u8<V>(green_not_above_both)) |
                    (equal_u8(smaller, min) & repeat_u8<V>(green_not_below_both)) |
                    (equal_u8(max, min) & repeat_u8<V>(all_equal));
    return {max,
            min,
            subtract_u8(max, min),
            select(shuffle_u8(as_vector<V>(falling), order), subtract_u8(max, middle),
                   subtract_u8(middle, min)),
            shuffle_u8(as_vector<V>(begin_low), order),
            shuffle_u8(as_vector<V>(begin_high), order)};
}

// The hues of half the pixels: begin + (60 x part + range / 2) / range. Of grey pixels the range
// counts as 1, so that nothing is added to no hue.
template <class V>
struct Hues {
    V numerator, divisor, begin; // words; of the quotient as said above

    template <size_t half>
    static Hues of(const Ranked<V> &samples) {
        const V one = repeat_u8<V>(1);
        const V range = max_u8(samples.range, one);
        const V divisor = widen_u8_to_u16<half>(range);
        return {sum_products_u8_i8(interleave_u8<half>(samples.part, range | one),
                                   repeat_u16<V>(1 << 8 | 120)),
                add_u16(divisor, divisor),
                interleave_u8<half>(samples.hue_begin_low, samples.hue_begin_high)};
    }

    // Double words. Rounding up at the end of the last sextant gives 360, which counts as 359.
    template <size_t half>
    V hue() const {
        const V hue = add_u32(
            quotient_i32(widen_u16_to_u32<half>(numerator), widen_u16_to_u32<half>(divisor)),
            widen_u16_to_u32<half>(begin));
        return add_u32(hue, equal_u32(hue, repeat_u32<V>(360)));
    }
};

// The saturations of half the pixels: (255 x range + most / 2) / most, where `most` is the largest
// range there can be; 0 counts as 1. An odd number made of it is 2 (most / 2) + 1.
template <class V>
struct Saturations {
    V range, odd_most, divisor; // words

    static Saturations of(V range, V most) {
        const V one = repeat_u16<V>(1);
        const V divisor = max_i16(most, one);
        return {range, most | one, add_u16(divisor, divisor)};
    }

    // Double words.
    template <size_t half>
    V saturation() const {
        return quotient_i32(
            sum_products_i16(interleave_u16<half>(range, odd_most), repeat_u32<V>(1 << 16 | 510)),
            widen_u16_to_u32<half>(divisor));
    }
};

// --- back to RGB ---------------------------------------------------------------------------------

// Words, of half the pixels. Range 0 is grey of any hue.
template <class V>
struct Cone {
    V hue, max, range;
};

// a x b / 255, rounded.
template <class V>
V scale_words(V a, V b) {
    return multiply_high_u16(add_u16(multiply_low_u16(a, b), repeat_u16<V>(128)),
                             repeat_u16<V>(257));
}

// Where each sample goes, by sextant; 6 is hue 360.
enum class Sample : uint8_t { max, part, min };

constexpr Sample samples_by_sextant[3][7] = {
    {Sample::max, Sample::part, Sample::min, Sample::min, Sample::part, Sample::max, Sample::max},
    {Sample::part, Sample::max, Sample::max, Sample::part, Sample::min, Sample::min, Sample::part},
    {Sample::min, Sample::min, Sample::part, Sample::max, Sample::max, Sample::part, Sample::min},
};

constexpr LaneBytes where(size_t channel, Sample sample) {
    return lane_by([=](size_t sextant) {
        return sextant < 7 && samples_by_sextant[channel][sextant] == sample ? 0xFF : 0;
    });
}

// One channel out of three kinds of samples.
template <size_t channel, class V>
V channel_of(V sextant, V max, V part, V min) {
    static constexpr LaneBytes is_max = where(channel, Sample::max),
                               is_part = where(channel, Sample::part);
    return select(shuffle_u8(as_vector<V>(is_max), sextant), max,
                  select(shuffle_u8(as_vector<V>(is_part), sextant), part, min));
}

// Distance, along the cone's edge, from the sextant's beginning.
template <class V>
V part_of(V hue, V sextant, V range) {
    const V degrees = subtract_u16(hue, sum_products_u8_i8(sextant, repeat_u16<V>(60)));
    const V product = add_u16(multiply_low_u16(degrees, range), repeat_u16<V>(30));
    return shift_right_u16<4>(multiply_high_u16(product, repeat_u16<V>(17477))); // / 60
}

template <class V>
Channels<V> pixels_of(const Cone<V> &low, const Cone<V> &high) {
    static constexpr LaneBytes odd_sextants{0, 0xFF, 0, 0xFF, 0, 0xFF};
    const V sixtieth = repeat_u16<V>(1093); // of 65536
    const V low_sextant = multiply_high_u16(low.hue, sixtieth);
    const V high_sextant = multiply_high_u16(high.hue, sixtieth);

    const V sextant = pack_i16_to_u8_in_lanes(low_sextant, high_sextant);
    const V max = pack_i16_to_u8_in_lanes(low.max, high.max);
    const V min = subtract_u8(max, pack_i16_to_u8_in_lanes(low.range, high.range));
    const V offset = pack_i16_to_u8_in_lanes(part_of(low.hue, low_sextant, low.range),
                                             part_of(high.hue, high_sextant, high.range));
    const V part = select(shuffle_u8(as_vector<V>(odd_sextants), sextant), subtract_u8(max, offset),
                          add_u8(min, offset));
    return {channel_of<0>(sextant, max, part, min), channel_of<1>(sextant, max, part, min),
            channel_of<2>(sextant, max, part, min)};
}

// --- spaces --------------------------------------------------------------------------------------

// A space says what value (or lightness) and largest range belong to which samples, and back.

struct HsvSpace {
    static constexpr ColourChange to_rgb = ColourChange::hsv_to_rgb;
    static constexpr int saturation_field = 1, value_field = 2;

    // Bytes; the rest is words.
    template <class V>
    static V value(V max, V) {
        return max;
    }
    template <size_t half, class V>
    static V most(V max, V) {
        return widen_u8_to_u16<half>(max);
    }
    template <class V>
    static Cone<V> cone(V hue, V saturation, V value) {
        return {hue, value, scale_words(saturation, value)};
    }
};

struct HlsSpace {
    static constexpr ColourChange to_rgb = ColourChange::hls_to_rgb;
    static constexpr int saturation_field = 2, value_field = 1;

    template <class V>
    static V value(V max, V min) {
        return average_down_u8(max, min);
    }
    template <size_t half, class V>
    static V most(V max, V min) {
        return most_of(add_u16(widen_u8_to_u16<half>(max), widen_u8_to_u16<half>(min)));
    }
    template <class V>
    static Cone<V> cone(V hue, V saturation, V lightness) {
        const V twice = add_u16(lightness, lightness);
        const V range = scale_words(saturation, most_of(twice));
        const V sum = add_u16(add_u16(twice, range), repeat_u16<V>(1));
        return {hue, shift_right_u16<1>(sum), range};
    }

private:
    template <class V>
    static V most_of(V sum) {
        return min_i16(sum, subtract_u16(repeat_u16<V>(510), sum));
    }
};

} // namespace
} // namespace q32::merge
