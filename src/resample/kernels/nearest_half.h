// Nearest neighbour at half the size: columns that lie two pixels apart, in long runs. Whole
// vectors of the source are loaded as they lie, and every second pixel of them is kept, for which
// nothing has to be looked up.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/nearest_moves.h"
#include "simd/byte_table.h"

namespace q32::resample {
namespace {

constexpr bool can_keep_every_second(int pixel_bytes) {
    return pixel_bytes == 1 || pixel_bytes == 4;
}

// Every second pixel of two vectors, the first, third, fifth ...
template <int pixel_bytes, class V>
[[gnu::always_inline]] inline V every_second(V a, V b) {
    if constexpr (pixel_bytes == 4) {
        return packed_in_order(even_u32_in_lanes(a, b));
#ifdef __SSE4_1__
    } else if constexpr (lanes<V> == 2) { // packing waits for the port that orders lanes
        constexpr LaneBytes low = lane_by([](size_t i) { return i < 8 ? 2 * i : nothing; });
        constexpr LaneBytes high = lane_by([](size_t i) { return i < 8 ? nothing : 2 * i - 16; });
        return packed_in_order(shuffle_u8(a, as_vector<V>(low)) |
                               shuffle_u8(b, as_vector<V>(high)));
#endif
    } else {
        const V even = repeat_u16<V>(0x00FF);
        return pack_i16_to_u8_in_order(a & even, b & even);
    }
}

// Reducing reads every second row, too: of the next one that it will read, the line that lies below
// this is asked for. Nothing is wrong with asking for what is not read, or not there. Always
// inline: GCC takes a function that only asks for one that does nothing.
[[gnu::always_inline]] inline void expect_row_after_next(const uint8_t *at, size_t row_bytes) {
    _mm_prefetch(reinterpret_cast<const char *>(at + 2 * row_bytes), _MM_HINT_T0);
}

// In rows of so many bytes it pays to store whole vectors where they belong.
constexpr size_t long_row = 384;

// Whole pixels before the first place where a store lies in one line of the cache.
template <int pixel_bytes, class V>
size_t bytes_before_whole_vector(const uint8_t *at) {
    return -reinterpret_cast<std::uintptr_t>(at) % sizeof(V) / pixel_bytes * pixel_bytes;
}

template <int pixel_bytes, bool is_long, class V>
[[gnu::always_inline]] inline void keep_every_second(uint8_t *destination, const uint8_t *source,
                                                     size_t bytes, size_t row_bytes) {
    constexpr size_t step = 2 * sizeof(V), line = 64;
    const auto make_vector = [&](size_t at) __attribute__((always_inline)) {
        const uint8_t *const from = source + 2 * at;
        store(destination + at,
              every_second<pixel_bytes>(load<V>(from), load<V>(from + sizeof(V))));
    };
    size_t at = 0;
    if constexpr (is_long) {
        make_vector(0);
        at = bytes_before_whole_vector<pixel_bytes, V>(destination);
    }
    for (; at + step <= bytes; at += step) {
        for (size_t k = 0; k < 2 * step; k += line)
            expect_row_after_next(source + 2 * at + k, row_bytes);
        make_vector(at);
        make_vector(at + sizeof(V));
    }
    if (at + sizeof(V) < bytes)
        make_vector(at);
    if (at < bytes) // ends with the run
        make_vector(bytes - sizeof(V));
}

// --- runs of columns ----------------------------------------------------------------------------

// Columns of which each lies two pixels behind the one before it, and has a neighbour in the source
// row: vectors hold it, too.
inline size_t end_of_run(const Plan &plan, size_t begin) {
    constexpr size_t group = sizeof(V16) / sizeof(Offset);
    const Offset *const offsets = plan.offsets();
    const Offset step = 2 * Offset(plan.pixel_bytes), first = offsets[begin];
    const size_t most = (plan.source_bytes - first) / step;
    const size_t last = begin + std::min(plan.columns - begin, most);
    size_t end = begin;
    V16 expected =
        _mm_setr_epi32(int(first), int(first + step), int(first + 2 * step), int(first + 3 * step));
    const V16 steps = repeat_u32<V16>(int(group * step));
    for (; end + group <= last && all_zero(load_16(offsets + end) ^ expected); end += group)
        expected = add_u32(expected, steps);
    while (end < last && offsets[end] - first == Offset(end - begin) * step)
        ++end;
    return std::max(end, begin + 1);
}

template <int pixel_bytes, bool is_long, class V>
void keep_runs(uint8_t *destination, Plan &plan, const uint8_t *source_row) {
    for (size_t i = 0, x = 0; i < plan.runs; x = plan.run_end[i++]) {
        uint8_t *const to = destination + x * pixel_bytes;
        const uint8_t *const from = source_row + plan.offsets()[x];
        const size_t bytes = (plan.run_end[i] - x) * pixel_bytes;
        if (bytes >= sizeof(V))
            keep_every_second<pixel_bytes, is_long, V>(to, from, bytes, plan.source_bytes);
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
    const bool is_long = plan.row_bytes >= long_row;
    if (plan.pixel_bytes == 1)
        plan.make_row = is_long ? keep_runs<1, true, V> : keep_runs<1, false, V>;
    else
        plan.make_row = is_long ? keep_runs<4, true, V> : keep_runs<4, false, V>;
    return true;
}

} // namespace
} // namespace q32::resample
