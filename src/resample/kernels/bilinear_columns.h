// Makes the plan of the wide bilinear kernels, a group of columns at a time: plans are made for
// small pieces of an image too, and must cost little beside them.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/bilinear_plan.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

namespace q32::resample {
namespace {

// --- groups of columns --------------------------------------------------------------------------

// The positions of a group. Behind the last column it repeats itself.
struct Group {
    int32_t index[group];
    int32_t fraction[group];
};

inline Group group_at(const Positions &columns, size_t first) {
    Group result = {};
    for (size_t i = 0; i < group; ++i) {
        const size_t x = std::min(first + i, columns.count - 1);
        result.index[i] = columns.index[x];
        result.fraction[i] = columns.fraction[x];
    }
    return result;
}

// Calls use(first column, indices, fractions) for all groups.
template <typename Use>
void each_group(const Positions &columns, size_t groups, const Use &use) {
    for (size_t x = 0; x < groups * group; x += group) {
        if (x + group <= columns.count) {
            use(x, columns.index + x, columns.fraction + x);
        } else {
            const Group last = group_at(columns, x);
            use(x, last.index, last.fraction);
        }
    }
}

#ifdef __SSE4_1__

// From words of the pixels of a group to words of their samples, lane k.
template <size_t pixel_bytes>
constexpr LaneBytes spread_indices(size_t k) {
    return lane_by([=](size_t i) { return (lane * k + i / 2) / pixel_bytes * 2 + i % 2; });
}

// Which sample of its pixel: the same in both bytes of a pair.
template <size_t pixel_bytes>
constexpr LaneBytes samples_in_pixels(size_t k) {
    return lane_by([=](size_t i) { return (lane * k + i / 2) % pixel_bytes; });
}

// What lanes of pixels of so many samples need, one entry for each lane of a group.
template <size_t pixel_bytes>
struct LaneTables {
    LaneBytes spread[pixel_bytes];
    LaneBytes sample[pixel_bytes];
};
template <size_t pixel_bytes>
constexpr LaneTables<pixel_bytes> lane_tables = [] {
    LaneTables<pixel_bytes> tables{};
    for (size_t k = 0; k < pixel_bytes; ++k) {
        tables.spread[k] = spread_indices<pixel_bytes>(k);
        tables.sample[k] = samples_in_pixels<pixel_bytes>(k);
    }
    return tables;
}();

template <size_t pixel_bytes>
V16 spread(V16 pixels, size_t k) {
    return shuffle_u8(pixels, as_vector<V16>(lane_tables<pixel_bytes>.spread[k]));
}

// Where pixels begin, and the fractions.
template <size_t pixel_bytes>
void find_pixels(Plan &plan, const Positions &columns, Extent source) {
    const V16 first = repeat_u32<V16>(source.first), last = repeat_u32<V16>(source.last());
    const auto left_of = [&](V16 index) {
        const V16 cut = max_i32(min_i32(index, last), first);
        return multiply_low_u32(subtract_u32(cut, first), repeat_u32<V16>(int(pixel_bytes)));
    };
    const auto word_of = [](V16 fraction) { return fraction & repeat_u32<V16>(0xFFFF); };

    each_group(columns, groups_of(columns.count, pixel_bytes),
               [&](size_t x, const int32_t *index, const int32_t *fraction) {
                   store_16(plan.left + x, left_of(load_16(index)));
                   store_16(plan.left + x + 4, left_of(load_16(index + 4)));
                   const V16 words = pack_i32_to_u16_in_lanes(word_of(load_16(fraction)),
                                                              word_of(load_16(fraction + 4)));
                   uint16_t *const at = plan.fraction + x * pixel_bytes;
                   for (size_t k = 0; k < pixel_bytes; ++k)
                       store_16(at + lane * k, spread<pixel_bytes>(words, k));
               });
}

#else

template <size_t pixel_bytes>
void find_pixels(Plan &plan, const Positions &columns, Extent source) {
    each_group(columns, groups_of(columns.count, pixel_bytes),
               [&](size_t x, const int32_t *index, const int32_t *fraction) {
                   uint16_t *sample = plan.fraction + x * pixel_bytes;
                   for (size_t i = 0; i < group; ++i) {
                       plan.left[x + i] =
                           (source.cut(index[i]) - source.first) * int32_t(pixel_bytes);
                       for (size_t k = 0; k < pixel_bytes; ++k)
                           *sample++ = uint16_t(fraction[i]);
                   }
               });
}

#endif

// --- windows ------------------------------------------------------------------------------------

#ifdef __SSE4_1__

// The group's pairs as they lie in the row, counted from where its first pixel begins, modulo 256:
// in a row that is reduced a thousandfold its last pixel begins more than 32767 bytes behind.
inline V16 pairs_of_group(const Plan &plan, const int32_t *left) {
    const V16 low = load_16(left), high = load_16(left + 4);
    const V16 last = repeat_u32<V16>(plan.last_left());
    const V16 at_end = pack_i32_to_i16_in_lanes(equal_u32(low, last), equal_u32(high, last));
    const V16 first = repeat_u32<V16>(left[0]);
    const auto distance = [&](V16 begin) {
        return subtract_u32(begin, first) & repeat_u32<V16>(0xFF);
    };
    const V16 from_first = pack_i32_to_i16_in_lanes(distance(low), distance(high));
    const V16 step = without(at_end, repeat_u16<V16>(int(plan.pixel_bytes)));
    return from_first | shift_left_u16<8>(add_u16(from_first, step));
}

// Windows of so many samples each. False where one does not hold the pairs of its samples, or where
// columns do not ascend.
template <size_t pixel_bytes, size_t samples>
bool find_windows(Plan &plan) {
    const auto last_byte = int32_t(plan.row_bytes) - 1;
    const int32_t last_start = std::max<int32_t>(0, int32_t(plan.row_bytes) - int32_t(window));
    int32_t *start = plan.start;
    uint8_t *index = plan.index;
    const size_t groups = groups_of(plan.pixels, pixel_bytes);
    const int32_t *left = plan.left;
    for (size_t g = 0; g < groups; ++g, left += group) {
        const V16 pairs = pairs_of_group(plan, left);
        bool found = true;
        for (size_t i = 0; i + 1 < group; ++i)
            found &= left[i] <= left[i + 1];
        for (size_t k = 0; k < pixel_bytes; ++k) {
            V16 begin = zero<V16>();
            for (size_t part = 0; part < lane / samples; ++part) {
                const size_t sample = lane * k + samples * part;
                const int32_t low = std::min(left[sample / pixel_bytes], last_start);
                const int32_t high = std::min<int32_t>(left[(sample + samples - 1) / pixel_bytes] +
                                                           2 * int32_t(pixel_bytes) - 1,
                                                       last_byte);
                found &= high - low < int32_t(window);
                *start++ = low;
                const V16 from_first = repeat_u8<V16>(low - left[0]);
                begin = part == 0 ? from_first : interleave_low_u64(begin, from_first);
            }
            const V16 sample = as_vector<V16>(lane_tables<pixel_bytes>.sample[k]);
            store_16(index, subtract_u8(add_u8(spread<pixel_bytes>(pairs, k), sample), begin));
            index += 2 * lane;
        }
        if (!found)
            return false;
    }
    return true;
}

template <size_t pixel_bytes>
bool find_any_windows(Plan &plan) {
    plan.search = Search::lanes;
    if (find_windows<pixel_bytes, lane>(plan))
        return true;
    plan.search = Search::half_lanes;
    return find_windows<pixel_bytes, lane / 2>(plan);
}

#else

template <size_t>
bool find_any_windows(Plan &) {
    return false; // there is no instruction that takes bytes out of a window
}

#endif

// --- pixels -------------------------------------------------------------------------------------

// A pixel by itself and its neighbour are read by one load, of 8 bytes where they have 6.
constexpr size_t wide_load(size_t pixel_bytes) {
    return pixel_bytes == 1 ? 2 : 8;
}

// Those that end the row, or that a wide load would read beyond its end.
template <size_t pixel_bytes>
void find_edge_pixels(Plan &plan) {
    const int32_t last_wide = int32_t(plan.row_bytes) - int32_t(wide_load(pixel_bytes));
    for (size_t x = 0; x < plan.pixels; ++x)
        if (plan.left[x] > last_wide)
            plan.edge_pixel[plan.edge_pixels++] = int32_t(x);
}

// --- the plan -----------------------------------------------------------------------------------

template <size_t pixel_bytes>
void make_plan_of(void *work, const Positions &columns, Extent source) {
    Plan &plan = lay_out_plan(work, columns.count, source, pixel_bytes);
    find_pixels<pixel_bytes>(plan, columns, source);
    if (find_any_windows<pixel_bytes>(plan))
        return;
    plan.search = Search::pixels;
    find_edge_pixels<pixel_bytes>(plan);
}

inline void make_plan(void *work, const Positions &columns, Extent source, int pixel_bytes) {
    switch (pixel_bytes) {
    case 1:
        return make_plan_of<1>(work, columns, source);
    case 3:
        return make_plan_of<3>(work, columns, source);
    default:
        return make_plan_of<4>(work, columns, source);
    }
}

} // namespace
} // namespace q32::resample
