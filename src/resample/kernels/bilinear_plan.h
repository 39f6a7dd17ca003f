// What the wide bilinear kernels know of a destination row's columns: the fractions, sample by
// sample, and where in a source row each sample's pair is found (the sample and its right
// neighbour). Plans are made a group of columns at a time: they are made for small pieces of an
// image too, and must cost little beside them.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/method_forms.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

namespace q32::resample {
namespace {

constexpr size_t lane = 8;    // samples whose pairs fill 16 bytes
constexpr size_t window = 16; // bytes of a source row out of which one shuffle takes pairs

// Lines and the plan's tables are filled up to whole blocks of samples.
constexpr size_t block = 32;
constexpr size_t blocks_of(size_t samples) {
    return (samples + block - 1) / block;
}
constexpr size_t pairs_bytes(size_t samples) {
    return blocks_of(samples) * block * 2;
}

// Columns are looked at in groups, which fill as many lanes as a pixel has samples.
constexpr size_t group = 8;
constexpr size_t groups_of(size_t columns, size_t samples) {
    const size_t lanes = blocks_of(columns * samples) * (block / lane);
    return (lanes + samples - 1) / samples;
}

// How pairs are found in a source row. The first way that can find them all is taken.
enum class Search : int {
    lanes,      // a window holds the pairs of a lane
    half_lanes, // a window holds the pairs of half a lane
    pixels,     // each pixel by itself
};

// A run of samples whose pairs are found in the same way, and whose fractions are alike.
enum class Pairing : int {
    in_place,     // they lie in the source row as in a line
    adjoining,    // windows of lanes follow one another
    windows,      // each lane has a window
    half_windows, // each half of a lane has one
    second_rgb,   // so they have, but pixels of three samples lie two pixels apart
};
enum class ColumnFractions : int { below_half, from_half, mixed };
struct Run {
    size_t end; // of the samples
    Pairing pairing;
    ColumnFractions fractions;
};

struct Plan {
    size_t columns;
    size_t samples;     // of a pixel
    size_t row_samples; // of the destination row
    size_t row_bytes;   // of a source row
    Search search;

    std::uint16_t *fraction;  // of each sample
    std::int32_t *left;       // of each pixel: where it begins in the source row
    std::int32_t *start;      // of each window: where it begins in the source row
    uint8_t *index;           // of each lane: where its pairs lie in its windows
    std::int32_t *edge_pixel; // pixels that a wide load would not find
    size_t edge_pixels;
    Run *run;                      // of all samples, filled up to blocks
    size_t runs;                   // none before the first row that needs them
    bool is_doubled;               // as bilinear_double.h has it: then there are no tables
    uint8_t short_row[2 * window]; // copies of source rows that are shorter than a window

    // Where the last pixel of a source row begins. It is its own right neighbour.
    std::int32_t last_left() const { return std::int32_t(row_bytes - samples); }
    size_t line_bytes() const { return pairs_bytes(row_samples); }
};

// The tables behind a plan, one after another.
class PlanTables {
public:
    PlanTables(size_t columns, size_t samples) {
        const size_t groups = groups_of(columns, samples), lanes = groups * samples;
        fraction = take<std::uint16_t>(lanes * lane);
        left = take<std::int32_t>(groups * group);
        start = take<std::int32_t>(2 * lanes);
        index = take<uint8_t>(2 * lane * lanes);
        edge_pixel = take<std::int32_t>(columns);
        run = take<Run>(blocks_of(columns * samples));
    }

    size_t fraction, left, start, index, edge_pixel, run; // bytes from the plan on
    size_t end = round_up_to_work_alignment(sizeof(Plan));

private:
    template <typename Entry>
    size_t take(size_t count) {
        const size_t begin = end;
        end += round_up_to_work_alignment(count * sizeof(Entry));
        return begin;
    }
};

inline Plan &lay_out_plan(void *memory, size_t columns, Span source, size_t samples) {
    auto *bytes = static_cast<uint8_t *>(memory);
    const PlanTables tables(columns, samples);
    Plan &plan = *static_cast<Plan *>(memory);
    plan.columns = columns;
    plan.samples = samples;
    plan.row_samples = columns * samples;
    plan.row_bytes = size_t(source.count) * samples;
    plan.fraction = reinterpret_cast<std::uint16_t *>(bytes + tables.fraction);
    plan.left = reinterpret_cast<std::int32_t *>(bytes + tables.left);
    plan.start = reinterpret_cast<std::int32_t *>(bytes + tables.start);
    plan.index = bytes + tables.index;
    plan.edge_pixel = reinterpret_cast<std::int32_t *>(bytes + tables.edge_pixel);
    plan.edge_pixels = 0;
    plan.run = reinterpret_cast<Run *>(bytes + tables.run);
    plan.runs = 0;
    plan.is_doubled = false;
    return plan;
}

// --- groups of columns --------------------------------------------------------------------------

// The positions of a group. Behind the last column it repeats itself.
struct Group {
    std::int32_t index[group];
    std::int32_t fraction[group];
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
template <size_t samples>
constexpr LaneBytes spread_indices(size_t k) {
    return lane_by([=](size_t i) { return (lane * k + i / 2) / samples * 2 + i % 2; });
}

// Which sample of its pixel: the same in both bytes of a pair.
template <size_t samples>
constexpr LaneBytes samples_in_pixels(size_t k) {
    return lane_by([=](size_t i) { return (lane * k + i / 2) % samples; });
}

// What lanes of pixels of so many samples need, one entry for each lane of a group.
template <size_t samples>
struct LaneTables {
    LaneBytes spread[samples];
    LaneBytes sample[samples];
};
template <size_t samples>
constexpr LaneTables<samples> lane_tables = [] {
    LaneTables<samples> tables{};
    for (size_t k = 0; k < samples; ++k) {
        tables.spread[k] = spread_indices<samples>(k);
        tables.sample[k] = samples_in_pixels<samples>(k);
    }
    return tables;
}();

template <size_t samples>
V16 spread(V16 pixels, size_t k) {
    return shuffle_u8(pixels, as_vector<V16>(lane_tables<samples>.spread[k]));
}

// Where pixels begin, and the fractions.
template <size_t samples>
void find_pixels(Plan &plan, const Positions &columns, Span source) {
    const V16 first = repeat_u32<V16>(source.first), last = repeat_u32<V16>(source.last());
    const auto left_of = [&](V16 index) {
        const V16 cut = max_i32(min_i32(index, last), first);
        return multiply_low_u32(subtract_u32(cut, first), repeat_u32<V16>(int(samples)));
    };
    const auto word_of = [](V16 fraction) { return fraction & repeat_u32<V16>(0xFFFF); };

    each_group(columns, groups_of(columns.count, samples),
               [&](size_t x, const std::int32_t *index, const std::int32_t *fraction) {
                   store_16(plan.left + x, left_of(load_16(index)));
                   store_16(plan.left + x + 4, left_of(load_16(index + 4)));
                   const V16 words = pack_i32_to_u16_in_lanes(word_of(load_16(fraction)),
                                                              word_of(load_16(fraction + 4)));
                   std::uint16_t *const at = plan.fraction + x * samples;
                   for (size_t k = 0; k < samples; ++k)
                       store_16(at + lane * k, spread<samples>(words, k));
               });
}

#else

template <size_t samples>
void find_pixels(Plan &plan, const Positions &columns, Span source) {
    each_group(columns, groups_of(columns.count, samples),
               [&](size_t x, const std::int32_t *index, const std::int32_t *fraction) {
                   std::uint16_t *sample = plan.fraction + x * samples;
                   for (size_t i = 0; i < group; ++i) {
                       plan.left[x + i] = source.distance(index[i]) * std::int32_t(samples);
                       for (size_t k = 0; k < samples; ++k)
                           *sample++ = std::uint16_t(fraction[i]);
                   }
               });
}

#endif

// --- windows ------------------------------------------------------------------------------------

#ifdef __SSE4_1__

// The group's pairs as they lie in the row, counted from where its first pixel begins, modulo 256:
// in a row that is reduced a thousandfold its last pixel begins more than 32767 bytes behind.
inline V16 pairs_of_group(const Plan &plan, const std::int32_t *left) {
    const V16 low = load_16(left), high = load_16(left + 4);
    const V16 last = repeat_u32<V16>(plan.last_left());
    const V16 at_end = pack_i32_to_i16_in_lanes(equal_u32(low, last), equal_u32(high, last));
    const V16 first = repeat_u32<V16>(left[0]);
    const auto distance = [&](V16 begin) {
        return subtract_u32(begin, first) & repeat_u32<V16>(0xFF);
    };
    const V16 from_first = pack_i32_to_i16_in_lanes(distance(low), distance(high));
    const V16 step = without(at_end, repeat_u16<V16>(int(plan.samples)));
    return from_first | shift_left_u16<8>(add_u16(from_first, step));
}

// Windows of so many samples each. False where one does not hold the pairs of its samples, or where
// columns do not ascend.
template <size_t samples, size_t window_samples>
bool find_windows(Plan &plan) {
    const auto last_byte = std::int32_t(plan.row_bytes) - 1;
    const std::int32_t last_start =
        std::max<std::int32_t>(0, std::int32_t(plan.row_bytes) - std::int32_t(window));
    std::int32_t *start = plan.start;
    uint8_t *index = plan.index;
    const size_t groups = groups_of(plan.columns, samples);
    const std::int32_t *left = plan.left;
    for (size_t g = 0; g < groups; ++g, left += group) {
        const V16 pairs = pairs_of_group(plan, left);
        bool found = true;
        for (size_t i = 0; i + 1 < group; ++i)
            found &= left[i] <= left[i + 1];
        for (size_t k = 0; k < samples; ++k) {
            V16 begin = zero<V16>();
            for (size_t part = 0; part < lane / window_samples; ++part) {
                const size_t sample = lane * k + window_samples * part;
                const std::int32_t low = std::min(left[sample / samples], last_start);
                const std::int32_t high = std::min<std::int32_t>(
                    left[(sample + window_samples - 1) / samples] + 2 * std::int32_t(samples) - 1,
                    last_byte);
                found &= high - low < std::int32_t(window);
                *start++ = low;
                const V16 from_first = repeat_u8<V16>(low - left[0]);
                begin = part == 0 ? from_first : interleave_low_u64(begin, from_first);
            }
            const V16 sample = as_vector<V16>(lane_tables<samples>.sample[k]);
            store_16(index, subtract_u8(add_u8(spread<samples>(pairs, k), sample), begin));
            index += 2 * lane;
        }
        if (!found)
            return false;
    }
    return true;
}

template <size_t samples>
bool find_any_windows(Plan &plan) {
    plan.search = Search::lanes;
    if (find_windows<samples, lane>(plan))
        return true;
    plan.search = Search::half_lanes;
    return find_windows<samples, lane / 2>(plan);
}

// --- runs ---------------------------------------------------------------------------------------

inline ColumnFractions fractions_of_block(const std::uint16_t *fraction) {
    const auto signs = [&](size_t at) {
        return top_bits(
            pack_i16_to_i8_in_lanes(load_16(fraction + at), load_16(fraction + at + lane)));
    };
    const unsigned from_half = signs(0) | unsigned(signs(2 * lane)) << 16;
    return from_half == 0     ? ColumnFractions::below_half
           : from_half == ~0u ? ColumnFractions::from_half
                              : ColumnFractions::mixed;
}

constexpr LaneBytes as_they_lie = lane_by([](size_t i) { return i; });

// In shorter rows the ends of runs cost more than is gained.
#ifdef __AVX512VBMI__
constexpr size_t least_second_rgb = 9 * block;
#else
constexpr size_t least_second_rgb = 24 * block;
#endif

// Whether pixels of three samples, from one to another, lie two pixels apart.
inline bool lie_two_apart(const Plan &plan, size_t first, size_t last) {
    for (size_t x = first; x < last; ++x)
        if (plan.left[x + 1] != plan.left[x] + 6)
            return false;
    return true;
}

// The same of those that have samples in a block.
inline bool block_lies_two_apart(const Plan &plan, size_t first_sample) {
    const size_t end = std::min(first_sample + block, plan.row_samples);
    return lie_two_apart(plan, first_sample / 3, (end - 1) / 3);
}

template <size_t samples>
Pairing pairing_of_block(const Plan &plan, size_t first_lane) {
    if (plan.search == Search::half_lanes) {
        const bool is_second_rgb = samples == 3 && plan.row_samples >= least_second_rgb &&
                                   block_lies_two_apart(plan, first_lane * lane);
        return is_second_rgb ? Pairing::second_rgb : Pairing::half_windows;
    }
    const std::int32_t *const start = plan.start + first_lane;
    for (size_t k = 1; k < block / lane; ++k)
        if (start[k] != start[0] + std::int32_t(k * window))
            return Pairing::windows;
    if (samples > 1)
        return Pairing::adjoining;
    V16 others = zero<V16>();
    for (size_t k = 0; k < block / lane; ++k)
        others = others |
                 (load_16(plan.index + (first_lane + k) * window) ^ as_vector<V16>(as_they_lie));
    return all_zero(others) ? Pairing::in_place : Pairing::adjoining;
}

// Whether the pairs of a block do not follow on those of the one before.
inline bool is_apart(const Plan &plan, Pairing pairing, size_t b) {
    const size_t first_lane = b * (block / lane);
    switch (pairing) {
    case Pairing::in_place:
    case Pairing::adjoining:
        return plan.start[first_lane] != plan.start[first_lane - 1] + std::int32_t(window);
    case Pairing::second_rgb:
        return !lie_two_apart(plan, b * block / 3 - 1, b * block / 3);
    default:
        return false;
    }
}

// A run goes on while its kind does, and while pairs that adjoin do so from block to block.
template <size_t samples>
void find_runs(Plan &plan) {
    for (size_t b = 0; b < blocks_of(plan.row_samples); ++b) {
        const Pairing pairing = pairing_of_block<samples>(plan, b * (block / lane));
        const ColumnFractions fractions = fractions_of_block(plan.fraction + b * block);
        Run *const last = plan.run + plan.runs - 1;
        if (b > 0 && last->pairing == pairing && last->fractions == fractions &&
            !is_apart(plan, pairing, b))
            last->end += block;
        else
            plan.run[plan.runs++] = {(b + 1) * block, pairing, fractions};
    }
}

#else

template <size_t>
bool find_any_windows(Plan &) {
    return false; // there is no instruction that takes bytes out of a window
}

#endif

// --- pixels -------------------------------------------------------------------------------------

// A pixel by itself and its neighbour are read by one load, of 8 bytes where they have 6.
constexpr size_t wide_load(size_t samples) {
    return samples == 1 ? 2 : 8;
}

// Those that end the row, or that a wide load would read beyond its end.
template <size_t samples>
void find_edge_pixels(Plan &plan) {
    const std::int32_t last_wide = std::int32_t(plan.row_bytes) - std::int32_t(wide_load(samples));
    for (size_t x = 0; x < plan.columns; ++x)
        if (plan.left[x] > last_wide)
            plan.edge_pixel[plan.edge_pixels++] = std::int32_t(x);
}

// --- the plan -----------------------------------------------------------------------------------

template <size_t samples>
void plan_columns(void *memory, const Positions &columns, Span source) {
    Plan &plan = lay_out_plan(memory, columns.count, source, samples);
    find_pixels<samples>(plan, columns, source);
    if (find_any_windows<samples>(plan))
        return;
    plan.search = Search::pixels;
    find_edge_pixels<samples>(plan);
}

} // namespace
} // namespace q32::resample
