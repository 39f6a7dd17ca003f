// Nearest neighbour at half the size: columns that lie two pixels apart, in long runs. Whole
// vectors of the source are loaded as they lie, and every second pixel of them is kept, for which
// nothing has to be looked up.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/nearest_moves.h"

namespace q32::resample {
namespace {

constexpr bool can_keep_every_second(int pixel_bytes) {
    return pixel_bytes == 1 || pixel_bytes == 4;
}

// Every second pixel of two vectors, the first, third, fifth ...
template <int pixel_bytes, class V>
V every_second(V a, V b) {
    if constexpr (pixel_bytes == 1) {
        const V even = repeat_u16<V>(0x00FF);
        return pack_i16_to_u8_in_order(a & even, b & even);
    } else {
        return packed_in_order(even_u32_in_lanes(a, b));
    }
}

// Reducing reads every second row, too: of the next one that it will read, the line that lies below
// this is asked for. Nothing is wrong with asking for what is not read, or not there. Always
// inline: GCC takes a function that only asks for one that does nothing.
[[gnu::always_inline]] inline void expect_row_after_next(const uint8_t *at, size_t row_bytes) {
    _mm_prefetch(reinterpret_cast<const char *>(at + 2 * row_bytes), _MM_HINT_T0);
}

template <int pixel_bytes, class V>
void keep_every_second(uint8_t *destination, const uint8_t *source, size_t bytes,
                       size_t row_bytes) {
    const auto make_vector = [&](size_t at) {
        const uint8_t *const from = source + 2 * at;
        store(destination + at,
              every_second<pixel_bytes>(load<V>(from), load<V>(from + sizeof(V))));
    };
    size_t at = 0;
    for (; at + sizeof(V) <= bytes; at += sizeof(V)) {
        expect_row_after_next(source + 2 * at, row_bytes);
        make_vector(at);
    }
    if (at < bytes) // ends with the run
        make_vector(bytes - sizeof(V));
}

// --- runs of columns ----------------------------------------------------------------------------

// Columns of which each lies two pixels behind the one before it, and has a neighbour in the source
// row: vectors hold it, too.
inline size_t end_of_run(const Plan &plan, size_t begin) {
    const Offset step = 2 * Offset(plan.pixel_bytes);
    const auto last = Offset(plan.source_bytes);
    const Offset *const offsets = plan.offsets();
    size_t end = begin;
    while (end < plan.columns && offsets[end] - offsets[begin] == Offset(end - begin) * step &&
           last - offsets[end] >= step)
        ++end;
    return std::max(end, begin + 1);
}

template <int pixel_bytes, class V>
void keep_runs(uint8_t *destination, Plan &plan, const uint8_t *source_row) {
    for (size_t i = 0, x = 0; i < plan.runs; x = plan.run_end[i++]) {
        uint8_t *const to = destination + x * pixel_bytes;
        const uint8_t *const from = source_row + plan.offsets()[x];
        const size_t bytes = (plan.run_end[i] - x) * pixel_bytes;
        if (bytes >= sizeof(V))
            keep_every_second<pixel_bytes, V>(to, from, bytes, plan.source_bytes);
        else
            for (size_t at = 0; at < bytes; at += pixel_bytes)
                move_pixel<pixel_bytes>(to + at, from + 2 * at);
    }
}

// Returns false when there is no such form for these pixels, or columns lie otherwise too often.
template <class V>
bool plan_half(Plan &plan) {
    if (!can_keep_every_second(plan.pixel_bytes) ||
        plan.columns * size_t(plan.pixel_bytes) < sizeof(V))
        return false;
    plan.runs = 0;
    for (size_t x = 0; x < plan.columns; x = plan.run_end[plan.runs++]) {
        if (plan.runs == most_runs)
            return false;
        plan.run_end[plan.runs] = end_of_run(plan, x);
    }
    plan.make_row = plan.pixel_bytes == 1 ? keep_runs<1, V> : keep_runs<4, V>;
    return true;
}

} // namespace
} // namespace q32::resample
