// Words of a destination row straight out of the pairs of two source rows, and the source rows that
// the next one will want.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/bilinear_down.h"

namespace q32::resample {
namespace {

struct SourceRows {
    const uint8_t *above, *below;
};

template <ColumnFractions columns, RowFraction row, class V>
[[gnu::always_inline]] inline V interpolated(V above, V below, V fx, V fy) {
    const V p00 = left_of_pairs(above), difference = right_minus_left(above);
    const V twice_c = difference & repeat_u16<V>(-2);
    V sum = add_u16(p00, multiply_high_i16(twice_c, fx));
    if constexpr (columns == ColumnFractions::from_half)
        sum = add_u16(sum, twice_c);
    else if constexpr (columns == ColumnFractions::mixed)
        sum = add_u16(sum, twice_c & shift_right_i16<15>(fx));
    if constexpr (row == RowFraction::none)
        return sum;
    const V twice_b = subtract_u16(left_of_pairs(below), p00) & repeat_u16<V>(-2);
    const V four_d = subtract_u16(right_minus_left(below), difference) & repeat_u16<V>(-4);
    const V f = multiply_high_u16(fy, fx);
    sum = add_u16(sum, add_u16(multiply_high_i16(fy, twice_b), multiply_high_i16(f, four_d)));
    if constexpr (row == RowFraction::from_half) {
        sum = add_u16(sum, twice_b);
        if constexpr (columns != ColumnFractions::below_half)
            sum = add_u16(sum, four_d & shift_right_i16<15>(f));
    }
    return sum;
}

// --- what is read next ---------------------------------------------------------------------------

// The next row of a reduced image reads source rows that lie behind these, most often just so far:
// what it will read is asked for. Nothing is wrong with asking beyond the image.
// Always inline: GCC takes a function that only asks for one that does nothing.
[[gnu::always_inline]] inline void expect_bytes(SourceRows rows, std::ptrdiff_t first,
                                                size_t bytes) {
    constexpr size_t line = 64;
    for (size_t at = 0; at < bytes; at += line)
        for (const uint8_t *const row : {rows.above, rows.below})
            _mm_prefetch(reinterpret_cast<const char *>(row + first + at), _MM_HINT_T0);
}

// Where the next row reads what this one reads here, when rows lie two apart.
inline std::ptrdiff_t two_rows_on(SourceRows rows) {
    return 2 * (rows.below - rows.above);
}
// Somewhat before that, for columns that lie two apart, too: these read one place after another.
inline std::ptrdiff_t nearly_two_rows_on(SourceRows rows) {
    return two_rows_on(rows) / 4 * 3;
}

} // namespace
} // namespace q32::resample
