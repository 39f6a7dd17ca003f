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
#include "resample/kernels/bilinear_second_rgb.h"

namespace q32::resample {
namespace {

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

// Where the window of a sample begins.
template <Pairing pairing>
[[gnu::always_inline]] inline std::ptrdiff_t start_at(const TablesOf &tables, size_t at) {
    return tables.start[pairing == Pairing::windows ? at / lane : at / (lane / 2)];
}

using MakeRun = void(uint8_t *destination, const Plan &plan, SourceRows rows, int row_fraction,
                     size_t begin, size_t end);

// Where windows do not have to be put together, by W.
template <class V, class W, Pairing pairing, ColumnFractions columns, RowFraction row>
void make_run(uint8_t *destination, const Plan &plan, SourceRows rows, int row_fraction,
              size_t begin, size_t end) {
    const TablesOf tables(plan);
    const std::ptrdiff_t first = tables.start[begin / lane] - std::ptrdiff_t(2 * begin);
    const SourceRows adjoining{rows.above + first, rows.below + first};
    const std::ptrdiff_t ahead =
        pairing < Pairing::windows ? nearly_two_rows_on(rows) : two_rows_on(rows);
    const auto made = [&]<class X>(size_t at, X fy) __attribute__((always_inline)) {
        const auto words = [&](size_t word) __attribute__((always_inline)) {
            return interpolated<columns, row, X>(
                pairs_at<pairing, X>(rows.above, tables, word, adjoining.above),
                row == RowFraction::none
                    ? zero<X>()
                    : pairs_at<pairing, X>(rows.below, tables, word, adjoining.below),
                load<X>(tables.fraction + word), fy);
        };
        return pack_i16_to_u8_in_order(words(at), words(at + sizeof(X) / 2));
    };
    const size_t samples = std::min(end, plan.row_samples);
    size_t at = begin;
    const auto make_whole = [&]<class X>(X fy) __attribute__((always_inline)) {
        for (; at + sizeof(X) <= samples; at += sizeof(X)) {
            if constexpr (pairing < Pairing::windows)
                expect_bytes(adjoining, ahead + std::ptrdiff_t(2 * at), 2 * sizeof(X));
            else
                expect_bytes(rows, ahead + start_at<pairing>(tables, at), 1);
            store(destination + at, made(at, fy));
        }
    };
    if constexpr (pairing < Pairing::windows && sizeof(W) > sizeof(V))
        make_whole(repeat_u16<W>(row_fraction));
    const V fy = repeat_u16<V>(row_fraction);
    make_whole(fy);
    if (at < samples)
        store_first(destination + at, made(at, fy), samples - at);
}

// What is left at the end is made out of windows for half a lane each.
template <class V, class W, ColumnFractions columns, RowFraction row>
void make_run_of_second_rgb(uint8_t *destination, const Plan &plan, SourceRows rows,
                            int row_fraction, size_t begin, size_t end) {
    using Steps = SecondRgb<V, W>;
    constexpr size_t source_bytes = second_rgb_at(Steps::samples);
    const TablesOf tables(plan);
    const std::ptrdiff_t ahead = nearly_two_rows_on(rows);
    const std::int32_t first = plan.left[begin / 3];
    SourceRows from{rows.above + first, rows.below + first};
    const size_t samples = std::min(end, plan.row_samples);
    size_t at = begin / 3 * 3; // what the run before has made of a pixel is made once more
    const auto fy = repeat_u16<typename Steps::Vector>(row_fraction);
    for (; at + Steps::stored <= samples; at += Steps::samples) {
        expect_bytes(from, ahead, source_bytes);
        Steps::template make<columns, row>(destination + at, from, tables.fraction + at, fy);
        from = {from.above + source_bytes, from.below + source_bytes};
    }
    make_run<V, W, Pairing::half_windows, columns, row>(destination, plan, rows, row_fraction,
                                                        std::max(begin, at / block * block), end);
}

// --- the choice ---------------------------------------------------------------------------------

template <class V, class W, Pairing pairing, ColumnFractions columns, RowFraction row>
constexpr MakeRun *make_run_by() {
    if constexpr (pairing == Pairing::second_rgb)
        return make_run_of_second_rgb<V, W, columns, row>;
    else
        return make_run<V, W, pairing, columns, row>;
}

template <class V, class W, Pairing pairing, RowFraction row>
MakeRun *make_run_by(ColumnFractions columns) {
    switch (columns) {
    case ColumnFractions::below_half:
        return make_run_by<V, W, pairing, ColumnFractions::below_half, row>();
    case ColumnFractions::from_half:
        return make_run_by<V, W, pairing, ColumnFractions::from_half, row>();
    default:
        return make_run_by<V, W, pairing, ColumnFractions::mixed, row>();
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
    case Pairing::half_windows:
        return make_run_by<V, W, Pairing::half_windows, row>(run.fractions);
    default:
        return make_run_by<V, W, Pairing::second_rgb, row>(run.fractions);
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
