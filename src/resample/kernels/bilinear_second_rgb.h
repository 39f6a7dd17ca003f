// Every second pixel of three samples, and its neighbour, out of two source rows, as at half the
// size. Pairs then follow one another, but in no window of 16 bytes lie those of a lane: one that
// begins with a pair holds seven of them. Three patterns of bytes take these, one for each sample
// of a pixel that a window may begin with.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/bilinear_interpolated.h"

#include <utility>

namespace q32::resample {
namespace {

constexpr size_t in_window = 7;
constexpr size_t in_period = 12 * in_window; // samples, until windows begin as the first one did

// Where the pair of a sample begins.
constexpr size_t second_rgb_at(size_t sample) {
    return sample / 3 * 6 + sample % 3;
}
constexpr size_t second_rgb_in_window(size_t first, size_t i) {
    const size_t pair = std::min(i / 2, in_window - 1);
    return second_rgb_at(first + pair) - second_rgb_at(first) + i % 2 * 3;
}

// The windows of a vector that makes samples from one on: each second one, so that packing two
// vectors puts them in order.
template <class V, size_t first>
constexpr VectorBytes<V> second_rgb_windows = vector_by<V>([](size_t i) {
    return second_rgb_in_window(first + i / 16 * 2 * in_window, i % 16);
});

template <class V>
constexpr LaneBytes without_gaps = lane_by([](size_t i) {
    return i < in_window ? i : i < 2 * in_window ? i + 1 : nothing;
});

template <ColumnFractions columns, RowFraction row, size_t first, class V>
[[gnu::always_inline]] inline V second_rgb_words(SourceRows rows, const std::uint16_t *fraction,
                                                 V fy) {
    constexpr size_t begin = second_rgb_at(first);
    constexpr size_t distance = second_rgb_at(first + 2 * in_window) - begin;
    const auto pairs = [&](const uint8_t *from) __attribute__((always_inline)) {
        return shuffle_u8(load_lanes<V>(from + begin, distance),
                          as_vector<V>(second_rgb_windows<V, first>));
    };
    const auto *const fx = reinterpret_cast<const uint8_t *>(fraction + first);
    return interpolated<columns, row, V>(pairs(rows.above),
                                         row == RowFraction::none ? zero<V>() : pairs(rows.below),
                                         load_lanes<V>(fx, 2 * 2 * in_window), fy);
}

// Makes samples from one of a period on, as many as two vectors hold; behind them it spoils two.
template <ColumnFractions columns, RowFraction row, size_t first, class V>
[[gnu::always_inline]] inline void make_second_rgb(uint8_t *to, SourceRows rows,
                                                   const std::uint16_t *fraction, V fy) {
    const V both = pack_i16_to_u8_in_lanes(
        second_rgb_words<columns, row, first, V>(rows, fraction, fy),
        second_rgb_words<columns, row, first + in_window, V>(rows, fraction, fy));
    store_lanes(to + first, 2 * in_window, shuffle_u8(both, as_vector<V>(without_gaps<V>)));
}

// Steps make so many samples of whole pixels out of what these pixels and their neighbours are, and
// store a few bytes more, so that a run goes on behind them: its last pixel, which may be its own
// neighbour, is not theirs.

// By windows of 16 bytes.
template <class V>
struct SecondRgbByWindows {
    using Vector = V;
    static constexpr size_t samples = in_period;
    static constexpr size_t stored = samples + 2;

    template <ColumnFractions columns, RowFraction row>
    [[gnu::always_inline]] static void make(uint8_t *to, SourceRows rows,
                                            const std::uint16_t *fraction, V fy) {
        make_steps<columns, row>(to, rows, fraction, fy,
                                 std::make_index_sequence<samples / in_step>());
    }

private:
    static constexpr size_t in_step = 2 * lanes<V> * in_window;

    template <ColumnFractions columns, RowFraction row, size_t... steps>
    [[gnu::always_inline]] static void make_steps(uint8_t *to, SourceRows rows,
                                                  const std::uint16_t *fraction, V fy,
                                                  std::index_sequence<steps...>) {
        (make_second_rgb<columns, row, steps * in_step, V>(to, rows, fraction, fy), ...);
    }
};

#ifdef __AVX512VBMI__

// By permutations of 64 bytes, which hold the pairs of ten pixels.
struct SecondRgbByPermutations {
    using Vector = V64;
    static constexpr size_t in_vector = 30, samples = 2 * in_vector, stored = sizeof(V64);

    static constexpr auto pairs = vector_by<V64>(
        [](size_t i) { return second_rgb_at(std::min(i / 2, in_vector - 1)) + i % 2 * 3; });
    static constexpr auto in_order = vector_by<V64>([](size_t i) {
        const size_t word = i % in_vector, of_second = i / in_vector % 2;
        return word / 8 * 16 + of_second * 8 + word % 8;
    });

    template <ColumnFractions columns, RowFraction row>
    [[gnu::always_inline]] static void make(uint8_t *to, SourceRows rows,
                                            const std::uint16_t *fraction, V64 fy) {
        const auto words = [&](size_t first) __attribute__((always_inline)) {
            const auto pairs_of = [&](const uint8_t *from) __attribute__((always_inline)) {
                return permute_u8(load<V64>(from + second_rgb_at(first)), as_vector<V64>(pairs));
            };
            return interpolated<columns, row, V64>(
                pairs_of(rows.above), row == RowFraction::none ? zero<V64>() : pairs_of(rows.below),
                load<V64>(fraction + first), fy);
        };
        store(to, permute_u8(pack_i16_to_u8_in_lanes(words(0), words(in_vector)),
                             as_vector<V64>(in_order)));
    }
};

template <class V, class W>
using SecondRgb =
    std::conditional_t<sizeof(W) == sizeof(V64), SecondRgbByPermutations, SecondRgbByWindows<V>>;

#else

template <class V, class>
using SecondRgb = SecondRgbByWindows<V>;

#endif

} // namespace
} // namespace q32::resample
