// Destination rows straight out of two source rows, as bilinear_down.h makes them of lines: for
// rows of which each reads source rows of its own, as when an image is reduced. What lines and
// strips would keep for other rows is neither stored nor loaded.
//
// Pairs of columns that lie two pixels apart, as at half the size, follow one another in the source
// row; and fractions of one half or more, which words take for negative ones, come in long runs
// there. Both are looked for before the first such row (find_runs), and then cost nothing.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/bilinear_across.h"
#include "resample/kernels/bilinear_down.h"

namespace q32::resample {
namespace {

struct SourceRows {
    const uint8_t *above, *below;
};

// A copy of what the loops need: the compiler must think that storing samples changes the plan.
struct TablesOf {
    explicit TablesOf(const Plan &plan)
        : start(plan.start), index(plan.index), fraction(plan.fraction) {}
    const std::int32_t *start;
    const uint8_t *index;
    const std::uint16_t *fraction;
};

// The pairs of a vector of samples as a line would have them, from a sample on.
template <Pairing pairing, class V>
[[gnu::always_inline]] inline V pairs_at(const uint8_t *row, const TablesOf &tables, size_t at,
                                         const uint8_t *adjoining) {
    const auto index = [&] { return load<V>(tables.index + 2 * at); };
    if constexpr (pairing == Pairing::in_place) {
        return load<V>(adjoining + 2 * at);
    } else if constexpr (pairing == Pairing::adjoining) {
        return shuffle_u8(load<V>(adjoining + 2 * at), index());
    } else if constexpr (pairing == Pairing::windows) {
        return shuffle_u8(load_windows<V>(row, tables.start + at / lane, 1), index());
    } else {
        const std::int32_t *const start = tables.start + at / (lane / 2);
        const V pairs = index();
        return select_u32<0b1100>(shuffle_u8(load_windows<V>(row, start + 1, 2), pairs),
                                  shuffle_u8(load_windows<V>(row, start, 2), pairs));
    }
}

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

// The next row of a reduced image reads source rows that lie behind these, most often just so far:
// what it will read at this place is asked for. Nothing is wrong with asking beyond the image.
// Always inline: GCC takes a function that only asks for one that does nothing.
[[gnu::always_inline]] inline void expect_line(const uint8_t *at) {
    _mm_prefetch(reinterpret_cast<const char *>(at), _MM_HINT_T0);
}
template <Pairing pairing>
[[gnu::always_inline]] inline void expect_rows(const TablesOf &tables, size_t at,
                                               const uint8_t *above, const uint8_t *below,
                                               SourceRows rows, std::ptrdiff_t ahead) {
    if constexpr (pairing < Pairing::windows) {
        expect_line(above + 2 * at);
        expect_line(below + 2 * at);
    } else {
        const auto start = tables.start[pairing == Pairing::windows ? at / lane : at / (lane / 2)];
        expect_line(rows.above + start + ahead);
        expect_line(rows.below + start + ahead);
    }
}

using MakeRun = void(uint8_t *destination, const Plan &plan, SourceRows rows, int row_fraction,
                     size_t begin, size_t end);

// Where windows do not have to be put together, by W.
template <class V, class W, Pairing pairing, ColumnFractions columns, RowFraction row>
void make_run(uint8_t *destination, const Plan &plan, SourceRows rows, int row_fraction,
              size_t begin, size_t end) {
    const TablesOf tables(plan);
    const std::ptrdiff_t first = tables.start[begin / lane] - std::ptrdiff_t(2 * begin);
    const uint8_t *const above = rows.above + first, *const below = rows.below + first;
    const std::ptrdiff_t ahead = 2 * (rows.below - rows.above);
    const auto made = [&]<class X>(size_t at, X fy) __attribute__((always_inline)) {
        const auto words = [&](size_t word) __attribute__((always_inline)) {
            return interpolated<columns, row, X>(
                pairs_at<pairing, X>(rows.above, tables, word, above),
                row == RowFraction::none ? zero<X>()
                                         : pairs_at<pairing, X>(rows.below, tables, word, below),
                load<X>(tables.fraction + word), fy);
        };
        return pack_i16_to_u8_in_order(words(at), words(at + sizeof(X) / 2));
    };
    const size_t samples = std::min(end, plan.row_samples);
    size_t at = begin;
    const auto make_whole = [&]<class X>(X fy) __attribute__((always_inline)) {
        for (; at + sizeof(X) <= samples; at += sizeof(X)) {
            expect_rows<pairing>(tables, at, above + ahead, below + ahead, rows, ahead);
            store(destination + at, made(at, fy));
        }
    };
    if constexpr (pairing < Pairing::windows && sizeof(W) > sizeof(V))
        make_whole(repeat_u16<W>(row_fraction));
    const V fy = repeat_u16<V>(row_fraction);
    make_whole(fy);
    if (at < samples) {
        uint8_t last[sizeof(V)];
        store(last, made(at, fy));
        std::memcpy(destination + at, last, samples - at);
    }
}

template <class V, class W, Pairing pairing, RowFraction row>
MakeRun *make_run_by(ColumnFractions columns) {
    switch (columns) {
    case ColumnFractions::below_half:
        return make_run<V, W, pairing, ColumnFractions::below_half, row>;
    case ColumnFractions::from_half:
        return make_run<V, W, pairing, ColumnFractions::from_half, row>;
    default:
        return make_run<V, W, pairing, ColumnFractions::mixed, row>;
    }
}

template <class V, class W, RowFraction row>
MakeRun *make_run_of(const Run &run) {
    switch (run.pairing) {
    case Pairing::in_place:
        return make_run_by<V, W, Pairing::in_place, row>(run.fractions);
    case Pairing::adjoining:
        return make_run_by<V, W, Pairing::adjoining, row>(run.fractions);
    case Pairing::windows:
        return make_run_by<V, W, Pairing::windows, row>(run.fractions);
    default:
        return make_run<V, W, Pairing::half_windows, ColumnFractions::mixed, row>;
    }
}

template <class V, class W>
MakeRun *make_run_of(const Run &run, int row_fraction) {
    if (row_fraction == 0)
        return make_run_of<V, W, RowFraction::none>(run);
    if (row_fraction < 0x8000)
        return make_run_of<V, W, RowFraction::below_half>(run);
    return make_run_of<V, W, RowFraction::from_half>(run);
}

template <class V, class W>
bool make_straight(uint8_t *destination, Plan &plan, SourceRows rows, int row_fraction) {
    if (plan.is_doubled || plan.search == Search::pixels)
        return false;
    if (plan.runs == 0)
        with_samples(int(plan.samples), [&](auto samples) { find_runs<samples>(plan); });
    if (plan.row_bytes < window) {
        std::memcpy(plan.short_row, rows.above, plan.row_bytes);
        std::memcpy(plan.short_row + window, rows.below, plan.row_bytes);
        rows = {plan.short_row, plan.short_row + window};
    }
    size_t begin = 0;
    for (const Run *run = plan.run; run != plan.run + plan.runs; begin = run++->end)
        make_run_of<V, W>(*run, row_fraction)(destination, plan, rows, row_fraction, begin,
                                              run->end);
    return true;
}

} // namespace
} // namespace q32::resample
