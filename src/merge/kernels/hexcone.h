// The arithmetic between RGB and hue, saturation and value or lightness, on vectors that hold one
// channel each; where the bytes of a vector come from and go to is colour_layout.h's part.
//
// Division needs a double word for each pixel, so that as much as can be is done before, on bytes.
// A quotient n / d is computed as (2n + 1) / 2d, which truncates to the same but is never close to
// the next whole number: floating point cannot round it there, whichever way it is set to round.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/colour_arithmetic.h"
#include "merge/kernels/colour_kernels.h"

namespace q32::merge {
namespace {

template <class V>
struct Pixels {
    V red, green, blue; // bytes
};

template <class V>
struct Fields {
    V field[3]; // double words, of a quarter of the records
};

struct alignas(16) LaneBytes {
    uint8_t at[16];

    template <class V>
    V vector() const {
        return repeat_lane<V>(rows::load_16(at));
    }
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
    LaneBytes bytes{};
    for (int order = 0; order < 16; ++order)
        bytes.at[order] = uint8_t(value(sextant_of(order)));
    return bytes;
}

template <class V>
Ranked<V> rank(const Pixels<V> &pixels) {
    static constexpr LaneBytes begin_low = by_order([](Sextant s) { return s.begin & 0xFF; }),
                               begin_high = by_order([](Sextant s) { return s.begin >> 8; }),
                               falling = by_order([](Sextant s) { return s.falling ? 0xFF : 0; });
    const V larger = max_bytes(pixels.red, pixels.blue);
    const V smaller = min_bytes(pixels.red, pixels.blue);
    const V max = max_bytes(larger, pixels.green), min = min_bytes(smaller, pixels.green);
    const V middle = max_bytes(smaller, min_bytes(larger, pixels.green));

    const V order = (equal_bytes(larger, pixels.red) & repeat_byte<V>(blue_not_above_red)) |
                    (equal_bytes(larger, max) & repeat_byte<V>(green_not_above_both)) |
                    (equal_bytes(smaller, min) & repeat_byte<V>(green_not_below_both)) |
                    (equal_bytes(max, min) & repeat_byte<V>(all_equal));
    return {max,
            min,
            subtract_bytes(max, min),
            choose_bytes(shuffle(falling.vector<V>(), order), subtract_bytes(max, middle),
                         subtract_bytes(middle, min)),
            shuffle(begin_low.vector<V>(), order),
            shuffle(begin_high.vector<V>(), order)};
}

// The hues of half the pixels: begin + (60 x part + range / 2) / range. Of grey pixels the range
// counts as 1, so that nothing is added to no hue.
template <class V>
struct Hues {
    V numerator, divisor, begin; // words; of the quotient as said above

    template <size_t half>
    static Hues of(const Ranked<V> &samples) {
        const V one = repeat_byte<V>(1);
        const V range = max_bytes(samples.range, one);
        const V divisor = words_of<half>(range);
        return {sum_byte_products(interleave_bytes<half>(samples.part, range | one),
                                  repeat_word<V>(1 << 8 | 120)),
                add_words(divisor, divisor),
                interleave_bytes<half>(samples.hue_begin_low, samples.hue_begin_high)};
    }

    // Double words. Rounding up at the end of the last sextant gives 360, which counts as 359.
    template <size_t half>
    V hue() const {
        const V hue = add_dwords(quotient(dwords_of<half>(numerator), dwords_of<half>(divisor)),
                                 dwords_of<half>(begin));
        return add_dwords(hue, equal_dwords(hue, repeat_dword<V>(360)));
    }
};

// The saturations of half the pixels: (255 x range + most / 2) / most, where `most` is the largest
// range there can be; 0 counts as 1. An odd number made of it is 2 (most / 2) + 1.
template <class V>
struct Saturations {
    V range, odd_most, divisor; // words

    static Saturations of(V range, V most) {
        const V one = repeat_word<V>(1);
        const V divisor = max_signed_words(most, one);
        return {range, most | one, add_words(divisor, divisor)};
    }

    // Double words.
    template <size_t half>
    V saturation() const {
        return quotient(sum_word_products(interleave_words<half>(range, odd_most),
                                          repeat_dword<V>(1 << 16 | 510)),
                        dwords_of<half>(divisor));
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
    return multiply_high(add_words(multiply_low(a, b), repeat_word<V>(128)), repeat_word<V>(257));
}

// Where each sample goes, by sextant; 6 is hue 360.
enum class Sample : uint8_t { max, part, min };

constexpr Sample samples_by_sextant[3][7] = {
    {Sample::max, Sample::part, Sample::min, Sample::min, Sample::part, Sample::max, Sample::max},
    {Sample::part, Sample::max, Sample::max, Sample::part, Sample::min, Sample::min, Sample::part},
    {Sample::min, Sample::min, Sample::part, Sample::max, Sample::max, Sample::part, Sample::min},
};

constexpr LaneBytes where(size_t channel, Sample sample) {
    LaneBytes mask{};
    for (size_t sextant = 0; sextant < 7; ++sextant)
        mask.at[sextant] = samples_by_sextant[channel][sextant] == sample ? 0xFF : 0;
    return mask;
}

// One channel out of three kinds of samples.
template <size_t channel, class V>
V channel_of(V sextant, V max, V part, V min) {
    static constexpr LaneBytes is_max = where(channel, Sample::max),
                               is_part = where(channel, Sample::part);
    return choose_bytes(shuffle(is_max.vector<V>(), sextant), max,
                        choose_bytes(shuffle(is_part.vector<V>(), sextant), part, min));
}

// Distance, along the cone's edge, from the sextant's beginning.
template <class V>
V part_of(V hue, V sextant, V range) {
    const V degrees = subtract_words(hue, sum_byte_products(sextant, repeat_word<V>(60)));
    const V product = add_words(multiply_low(degrees, range), repeat_word<V>(30));
    return words_down<4>(multiply_high(product, repeat_word<V>(17477))); // / 60
}

template <class V>
Pixels<V> pixels_of(const Cone<V> &low, const Cone<V> &high) {
    static constexpr LaneBytes odd_sextants{0, 0xFF, 0, 0xFF, 0, 0xFF};
    const V sixtieth = repeat_word<V>(1093); // of 65536
    const V low_sextant = multiply_high(low.hue, sixtieth);
    const V high_sextant = multiply_high(high.hue, sixtieth);

    const V sextant = pack_words(low_sextant, high_sextant);
    const V max = pack_words(low.max, high.max);
    const V min = subtract_bytes(max, pack_words(low.range, high.range));
    const V offset = pack_words(part_of(low.hue, low_sextant, low.range),
                                part_of(high.hue, high_sextant, high.range));
    const V part = choose_bytes(shuffle(odd_sextants.vector<V>(), sextant),
                                subtract_bytes(max, offset), add_bytes(min, offset));
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
        return words_of<half>(max);
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
        return floor_average_bytes(max, min);
    }
    template <size_t half, class V>
    static V most(V max, V min) {
        return most_of(add_words(words_of<half>(max), words_of<half>(min)));
    }
    template <class V>
    static Cone<V> cone(V hue, V saturation, V lightness) {
        const V twice = add_words(lightness, lightness);
        const V range = scale_words(saturation, most_of(twice));
        const V sum = add_words(add_words(twice, range), repeat_word<V>(1));
        return {hue, words_down<1>(sum), range};
    }

private:
    template <class V>
    static V most_of(V sum) {
        return min_signed_words(sum, subtract_words(repeat_word<V>(510), sum));
    }
};

} // namespace
} // namespace q32::merge
