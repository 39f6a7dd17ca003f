// Destination rows out of two lines of pairs, in words. All products are taken from their upper
// words, by factors twice and four times the halved and quartered differences:
//
//     (fy * b) >> 15 = (fy * 2b) >> 16
//
// Multiplication of words is signed. A fraction from one half on, 0x8000, counts as one less than
// it is, so that the factor is added once more.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/bilinear_plan.h"
#include "resample/kernels/store_first.h"

namespace q32::resample {
namespace {

// Samples are worked on in strips. What all rows between two lines share is computed once for a
// strip, and then finished for each row.
constexpr size_t strip = 8 * block;
struct alignas(work_alignment) Strip {
    std::uint16_t columns[strip]; // p00 + ((fx * c) >> 15)
    std::uint16_t twice_b[strip];
    std::uint16_t four_d[strip];
};

// The two bytes of pairs, as words.
template <class V>
V left_of_pairs(V pairs) {
    return pairs & repeat_u16<V>(0x00FF);
}
template <class V>
V right_minus_left(V pairs) {
#ifdef __SSE4_1__
    return sum_products_u8_i8(pairs, repeat_u16<V>(0x01FF)); // right by 1, left by -1
#else
    return subtract_u16(shift_right_u16<8>(pairs), left_of_pairs(pairs));
#endif
}

// Calls work with 0, one vector of words, two, until so many samples are done.
template <class V, typename Work>
[[gnu::always_inline]] inline void each_vector(size_t samples, const Work &work) {
    for (size_t at = 0; at < samples; at += sizeof(V) / 2)
        work(at);
}

template <bool rows_differ, class V>
void share(Strip &terms, const uint8_t *above, const uint8_t *below, const std::uint16_t *fraction,
           size_t samples) {
    each_vector<V>(
        samples, [&](size_t at) __attribute__((always_inline)) {
            const V fx = load<V>(fraction + at);
            const V top = load<V>(above + 2 * at);
            const V p00 = left_of_pairs(top);
            const V top_difference = right_minus_left(top);
            const V twice_c = top_difference & repeat_u16<V>(-2);
            const V whole = twice_c & shift_right_i16<15>(fx);
            store(terms.columns + at, add_u16(add_u16(p00, whole), multiply_high_i16(twice_c, fx)));
            if constexpr (rows_differ) {
                const V bottom = load<V>(below + 2 * at);
                store(terms.twice_b + at,
                      subtract_u16(left_of_pairs(bottom), p00) & repeat_u16<V>(-2));
                store(terms.four_d + at,
                      subtract_u16(right_minus_left(bottom), top_difference) & repeat_u16<V>(-4));
            }
        });
}

enum class RowFraction { none, below_half, from_half };

template <RowFraction row_fraction, class V>
V finish(const Strip &terms, size_t at, const std::uint16_t *fraction, V fy) {
    const V columns = load<V>(terms.columns + at);
    if constexpr (row_fraction == RowFraction::none)
        return columns;
    const V f = multiply_high_u16(fy, load<V>(fraction + at));
    const V twice_b = load<V>(terms.twice_b + at);
    const V four_d = load<V>(terms.four_d + at);
    V sum = add_u16(columns, add_u16(multiply_high_i16(fy, twice_b), multiply_high_i16(f, four_d)));
    if constexpr (row_fraction == RowFraction::from_half)
        sum = add_u16(sum, add_u16(twice_b, four_d & shift_right_i16<15>(f)));
    return sum;
}

template <RowFraction row_fraction, class V>
void finish_row(uint8_t *destination, const Strip &terms, const std::uint16_t *fraction, int row,
                size_t samples) {
    const V fy = repeat_u16<V>(row);
    const auto finished = [&](size_t at) __attribute__((always_inline)) {
        return pack_i16_to_u8_in_order(
            finish<row_fraction, V>(terms, at, fraction, fy),
            finish<row_fraction, V>(terms, at + sizeof(V) / 2, fraction, fy));
    };
    size_t at = 0;
    for (; at + sizeof(V) <= samples; at += sizeof(V))
        store(destination + at, finished(at));
    if (at < samples)
        store_first(destination + at, finished(at), samples - at);
}

template <class V>
void finish_rows(uint8_t *destination, size_t stride, const Plan &plan, const uint8_t *above,
                 const uint8_t *below, const std::int32_t *row_fraction, size_t rows) {
    const bool rows_differ =
        std::any_of(row_fraction, row_fraction + rows,
                    [](std::int32_t fraction) { return (fraction & 0xFFFF) != 0; });
    for (size_t first = 0; first < plan.row_samples; first += strip) {
        const size_t samples = std::min(strip, plan.row_samples - first);
        const std::uint16_t *fraction = plan.fraction + first;
        Strip terms;
        if (rows_differ)
            share<true, V>(terms, above + 2 * first, below + 2 * first, fraction, samples);
        else
            share<false, V>(terms, above + 2 * first, below + 2 * first, fraction, samples);
        for (size_t y = 0; y < rows; ++y) {
            uint8_t *row = destination + y * stride + first;
            const int fy = row_fraction[y] & 0xFFFF;
            if (fy == 0)
                finish_row<RowFraction::none, V>(row, terms, fraction, fy, samples);
            else if (fy < 0x8000)
                finish_row<RowFraction::below_half, V>(row, terms, fraction, fy, samples);
            else
                finish_row<RowFraction::from_half, V>(row, terms, fraction, fy, samples);
        }
    }
}

} // namespace
} // namespace q32::resample
