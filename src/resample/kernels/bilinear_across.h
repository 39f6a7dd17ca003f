// Lines of pairs out of a source row: the bytes of a sample and of its right neighbour, for each
// sample of the destination row.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/bilinear_plan.h"

#include <cstring>

namespace q32::resample {
namespace {

// Rows are read in pieces, and of large images from memory: what comes next is asked for early.
// Nothing is wrong with asking beyond the row.
inline void expect(const uint8_t *at) {
    constexpr size_t ahead = 2048;
    _mm_prefetch(reinterpret_cast<const char *>(at + ahead), _MM_HINT_T0);
}

// --- out of windows -----------------------------------------------------------------------------

#ifdef __SSE4_1__

// The windows of each lane, which are `distance` apart in the list of windows.
template <class V>
V load_windows(const uint8_t *row, const std::int32_t *start, [[maybe_unused]] size_t distance) {
    if constexpr (lanes<V> == 1)
        return load_16(row + start[0]);
    else
        return join_lanes<V>(load_16(row + start[0]), load_16(row + start[distance]));
}

// A copy of what the loops need: the compiler must think that storing to a line changes the plan.
struct WindowsOf {
    explicit WindowsOf(const Plan &plan)
        : start(plan.start), index(plan.index), bytes(plan.line_bytes()) {}
    const std::int32_t *start;
    const uint8_t *index;
    size_t bytes; // of the line
};

template <class V>
void take_lanes(uint8_t *line, const Plan &plan, const uint8_t *row) {
    const auto [start, index, bytes] = WindowsOf(plan);
    for (size_t at = 0, window_at = 0; at < bytes; at += sizeof(V), window_at += lanes<V>)
        store(line + at,
              shuffle_u8(load_windows<V>(row, start + window_at, 1), load<V>(index + at)));
}

template <class V>
void take_half_lanes(uint8_t *line, const Plan &plan, const uint8_t *row) {
    constexpr size_t halves = 2 * lanes<V>;
    const auto [start, index, bytes] = WindowsOf(plan);
    for (size_t at = 0, half = 0; at < bytes; at += sizeof(V), half += halves) {
        expect(row + start[half]);
        const V pairs = load<V>(index + at);
        const V low = shuffle_u8(load_windows<V>(row, start + half, 2), pairs);
        const V high = shuffle_u8(load_windows<V>(row, start + half + 1, 2), pairs);
        store(line + at, select_u32<0b1100>(high, low));
    }
}

#endif

// --- pixel by pixel -----------------------------------------------------------------------------

template <size_t samples>
void take_edge_pixel(uint8_t *pair, const uint8_t *left, bool is_last) {
    const uint8_t *right = is_last ? left : left + samples;
    for (size_t sample = 0; sample < samples; ++sample) {
        *pair++ = left[sample];
        *pair++ = right[sample];
    }
}

template <size_t samples>
void take_pixels(uint8_t *line, const Plan &plan, const uint8_t *row) {
    constexpr size_t step = 2 * samples, wide = wide_load(samples);
    if (plan.row_bytes >= wide) {
        const auto last_wide = std::int32_t(plan.row_bytes - wide);
        const std::int32_t *left = plan.left, *const end = left + plan.columns;
        for (uint8_t *pair = line; left != end; ++left, pair += step) {
            const uint8_t *at = row + std::min(*left, last_wide);
            if constexpr (samples == 1) {
                std::memcpy(pair, at, wide);
            } else {
                const V16 both = load_8(at);
                const V16 right = _mm_srli_epi64(both, 8 * samples);
                store_8(pair, interleave_low_u8(both, right));
            }
        }
    }
    for (size_t i = 0; i < plan.edge_pixels; ++i) {
        const auto x = size_t(plan.edge_pixel[i]);
        const std::int32_t left = plan.left[x];
        take_edge_pixel<samples>(line + x * step, row + left, left == plan.last_left());
    }
}

// --- the choice ---------------------------------------------------------------------------------

template <class V>
void take_pairs(uint8_t *line, Plan &plan, const uint8_t *row) {
#ifdef __SSE4_1__
    if (plan.row_bytes < window) {
        std::memcpy(plan.short_row, row, plan.row_bytes);
        row = plan.short_row;
    }
    if (plan.search == Search::lanes)
        return take_lanes<V>(line, plan, row);
    if (plan.search == Search::half_lanes)
        return take_half_lanes<V>(line, plan, row);
#endif
    with_samples(int(plan.samples), [&](auto samples) { take_pixels<samples>(line, plan, row); });
}

} // namespace
} // namespace q32::resample
