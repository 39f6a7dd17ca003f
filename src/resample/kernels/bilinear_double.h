// Twice as many columns and, usually, rows: every other column lies on a source pixel, the others
// half-way to the next. Then there is nothing to look up, and rows that lie on a source row or
// half-way between two are made in bytes.
//
// A line is its source row with every pixel twice, and the last one's neighbour behind it. So the
// samples of a pair lie a pixel apart in it, and every column may be taken for one that lies
// half-way: where it does not, both samples are the same. The line's bytes are complements:
// averages round up then as they are wanted, down.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/bilinear_down.h"
#include "resample/kernels/bilinear_plan.h"

#include <type_traits>
#include <utility>

namespace q32::resample {
namespace {

constexpr int half = 0x8000; // of a fraction

// --- the plan -----------------------------------------------------------------------------------

inline bool are_doubled(const Positions &columns, Span source) {
    constexpr size_t step = 4;
    if (columns.count < 2)
        return false;
    const std::int32_t first = columns.index[0];
    if (first < source.first || (columns.fraction[1] & 0xFFFF) != half ||
        (int(columns.count) - 1) / 2 > source.last() - first)
        return false;
    const auto is_as_doubled = [&](size_t x) {
        return columns.index[x] == first + std::int32_t(x / 2) &&
               (columns.fraction[x] & 0xFFFF) == (x % 2 == 0 ? 0 : half);
    };
    V16 others = zero<V16>(), index = _mm_setr_epi32(first, first, first + 1, first + 1);
    size_t x = 0;
    for (; x + step <= columns.count; x += step, index = add_u32(index, repeat_u32<V16>(2))) {
        const V16 fraction = load_16(columns.fraction + x) & repeat_u32<V16>(0xFFFF);
        others = others | (load_16(columns.index + x) ^ index) |
                 (fraction ^ _mm_setr_epi32(0, half, 0, half));
    }
    if (!all_zero(others))
        return false;
    for (; x < columns.count; ++x)
        if (!is_as_doubled(x))
            return false;
    return true;
}

template <size_t samples>
bool plan_doubled(void *memory, const Positions &columns, Span source) {
    if (!are_doubled(columns, source))
        return false;
    Plan &plan = lay_out_plan(memory, columns.count, source, samples);
    plan.is_doubled = true;
    plan.left[0] = source.distance(columns.index[0]) * std::int32_t(samples);
    return true;
}

// --- lines --------------------------------------------------------------------------------------

template <size_t samples>
void double_pixel(uint8_t *line, const uint8_t *pixel) {
    for (size_t k = 0; k < samples; ++k)
        line[k] = line[samples + k] = uint8_t(~pixel[k]);
}

#ifdef __SSE4_1__

// Eight pixels of three bytes are doubled to three lanes. Where a lane begins in the source, and
// which bytes from there on it takes.
constexpr size_t start_of_doubled(size_t lane_index) {
    constexpr size_t starts[] = {0, 6, 8};
    return lane_index / 3 * 24 + starts[lane_index % 3];
}
constexpr size_t byte_of_doubled(size_t lane_index, size_t i) {
    const size_t byte = 16 * lane_index + i;
    return byte / 6 * 3 + byte % 3 - start_of_doubled(lane_index);
}

// Of a vector of lanes from one on.
template <class V, size_t first>
constexpr VectorBytes<V> bytes_of_doubled = vector_by<V>([](size_t i) {
    return byte_of_doubled(first + i / 16, i % 16);
});

// Doubles to the lanes of three vectors.
template <class V, size_t... k>
void double_rgb(uint8_t *line, const uint8_t *pixels, std::index_sequence<k...>) {
    constexpr size_t n = lanes<V>;
    (store(line + k * sizeof(V),
           ~shuffle_u8(load_lanes<V>(pixels + start_of_doubled(k * n),
                                     start_of_doubled(k * n + n - 1) - start_of_doubled(k * n)),
                       as_vector<V>(bytes_of_doubled<V, k * n>))),
     ...);
}

#endif

#ifdef __AVX512VBMI__
template <class V>
using NarrowerThan = std::conditional_t<sizeof(V) == sizeof(V64), V32, V16>;
#else
template <class>
using NarrowerThan = V16;
#endif

// Pixels of three bytes go by two lanes at most.
template <size_t samples, class V>
using DoubledBy = std::conditional_t<samples == 3 && lanes<V> == 4, NarrowerThan<V>, V>;

// Pixels that are doubled by one step.
template <size_t samples, class V>
constexpr size_t doubled_at_once = samples == 3 ? 8 * lanes<V> : sizeof(V) / samples;

template <size_t samples, class V>
void double_pixels(uint8_t *line, const uint8_t *pixels) {
    if constexpr (samples == 3) {
#ifdef __SSE4_1__
        double_rgb<V>(line, pixels, std::make_index_sequence<3>());
#else
        for (size_t x = 0; x < doubled_at_once<samples, V>; ++x)
            double_pixel<samples>(line + 2 * samples * x, pixels + samples * x);
#endif
    } else {
        const V dealt = dealt_to_lanes(~load<V>(pixels));
        const auto [low, high] = samples == 1 ? pairs_u8(dealt, dealt) : pairs_u32(dealt, dealt);
        store(line, low);
        store(line + sizeof(V), high);
    }
}

// Short rows go by narrower vectors.
template <size_t samples, class V>
void double_row(uint8_t *line, const Plan &plan, const uint8_t *row) {
    constexpr size_t step = doubled_at_once<samples, V>;
    const uint8_t *const first = row + plan.left[0];
    const size_t pixels = (plan.columns + 1) / 2;
    if constexpr (sizeof(V) > sizeof(V16))
        if (pixels < step)
            return double_row<samples, NarrowerThan<V>>(line, plan, row);
    size_t x = 0;
    for (; x + step <= pixels; x += step)
        double_pixels<samples, V>(line + 2 * samples * x, first + samples * x);
    if (x < pixels && pixels >= step)
        double_pixels<samples, V>(line + 2 * samples * (pixels - step),
                                  first + samples * (pixels - step));
    else
        for (; x < pixels; ++x)
            double_pixel<samples>(line + 2 * samples * x, first + samples * x);
    const uint8_t *const last = row + plan.row_bytes - samples;
    double_pixel<samples>(line + 2 * samples * pixels, std::min(first + samples * pixels, last));
}

template <class V>
void make_doubled_line(uint8_t *line, const Plan &plan, const uint8_t *row) {
    with_samples(int(plan.samples), [&](auto samples) {
        double_row<samples, DoubledBy<samples, V>>(line, plan, row);
    });
}

// --- rows ---------------------------------------------------------------------------------------

// Rows on a source row: the pairs' averages.
template <class V>
[[gnu::always_inline]] inline V on_row(V left, V right) {
    return ~average_up_u8(left, right);
}

// Rows half-way between two:
//
//     p00 + b + c + d = (p00 + p01 + p10 + p11 - 2 x r - 2 x s) / 4, rounded down,
//
// where r = (p00 - p01) % 2 and s = (p00 - p10) % 2, absolute, are what halving b and c loses. Of
// complements it is the sum of all plus 2 x r plus 2 x s, rounded up. With averages, rounded up,
// v of p00 and p01 and w of p10 and p11, which lacks t like r, that is
//
//     (v + w + s + (r and not t)) / 2, rounded up,
//
// the average of v and w and 1 where two of these hold: s, r without t, v + w is even. A sum above
// 255 means a sample below 0.
template <class V>
[[gnu::always_inline]] inline V between_rows(V p00, V p10, V p01, V p11) {
    const V v = average_up_u8(p00, p01), w = average_up_u8(p10, p11);
    const V s = p00 ^ p10;
    const V r_without_t = without(p10 ^ p11, p00 ^ p01);
    const V is_odd = v ^ w;
    const V two_of_three = s ^ without(s ^ is_odd, s ^ r_without_t);
    return ~add_saturating_u8(average_up_u8(v, w), two_of_three & repeat_u8<V>(1));
}

// Rows that lie elsewhere, in words.
template <bool from_half, class V>
[[gnu::always_inline]] inline V elsewhere(V p00, V p10, V p01, V p11, V fy) {
    const V difference = subtract_u16(p10, p00);
    const V twice_b = subtract_u16(p01, p00) & repeat_u16<V>(-2);
    const V four_d = subtract_u16(subtract_u16(p11, p01), difference) & repeat_u16<V>(-4);
    const V columns = add_u16(p00, shift_right_i16<1>(difference));
    const V sum = add_u16(columns, add_u16(multiply_high_i16(fy, twice_b),
                                           multiply_high_i16(shift_right_u16<1>(fy), four_d)));
    return from_half ? add_u16(sum, twice_b) : sum;
}

template <bool from_half, class V>
[[gnu::always_inline]] inline V elsewhere_bytes(V p00, V p10, V p01, V p11, V fy) {
    const V left = ~p00, right = ~p10, left_below = ~p01, right_below = ~p11;
    const auto words = [&](auto half_of_lane) {
        return elsewhere<from_half>(widen_u8_to_u16<half_of_lane>(left),
                                    widen_u8_to_u16<half_of_lane>(right),
                                    widen_u8_to_u16<half_of_lane>(left_below),
                                    widen_u8_to_u16<half_of_lane>(right_below), fy);
    };
    return pack_i16_to_u8_in_lanes(words(std::integral_constant<size_t, 0>()),
                                   words(std::integral_constant<size_t, 1>()));
}

// Makes vectors of the samples of two lines and of those a pixel further on.
template <class V, class Make>
void make_doubled_row(uint8_t *destination, const Plan &plan, const uint8_t *above,
                      const uint8_t *below, const Make &make) {
    const size_t bytes = plan.row_samples, step = plan.samples;
    const auto made = [&](size_t at) __attribute__((always_inline)) {
        return make(load<V>(above + at), load<V>(above + at + step), load<V>(below + at),
                    load<V>(below + at + step));
    };
    size_t at = 0;
    for (; at + sizeof(V) <= bytes; at += sizeof(V))
        store(destination + at, made(at));
    if (at < bytes)
        store_first(destination + at, made(at), bytes - at);
}

template <class V>
void make_doubled_rows(uint8_t *destination, size_t stride, const Plan &plan, const uint8_t *above,
                       const uint8_t *below, const std::int32_t *row_fraction, size_t rows) {
    for (size_t y = 0; y < rows; ++y, destination += stride) {
        const int fraction = row_fraction[y] & 0xFFFF;
        const auto make = [&](const auto &row) {
            make_doubled_row<V>(destination, plan, above, below, row);
        };
        const V fy = repeat_u16<V>(fraction);
        if (fraction == 0)
            make([](V p00, V p10, V, V) { return on_row(p00, p10); });
        else if (fraction == half)
            make([](V a, V b, V c, V d) { return between_rows(a, b, c, d); });
        else if (fraction < half)
            make([&](V a, V b, V c, V d) { return elsewhere_bytes<false>(a, b, c, d, fy); });
        else
            make([&](V a, V b, V c, V d) { return elsewhere_bytes<true>(a, b, c, d, fy); });
    }
}

} // namespace
} // namespace q32::resample
