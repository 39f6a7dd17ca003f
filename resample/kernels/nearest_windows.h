// Nearest neighbour by choosing bytes: 16 bytes of the destination, a lane, come out of the next
// 16, 32, 48 ... bytes of the source row, its windows, by one shuffle of each, whatever the size of
// the pixels. Where columns lie too far apart for that, or do not ascend, pixels are moved.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/nearest_moves.h"
#include "rows/kernels/vectors.h"

#include <array>

namespace q32::resample {
namespace {

using rows::load_16;
using rows::store_16;
using rows::V16;

constexpr std::size_t lane_bytes = sizeof(V16);
constexpr std::size_t most_windows = 8;

// A window costs about as much as moving a pixel, and a little more.
constexpr std::size_t windows_that_pay(int pixel_bytes) {
    return std::min(most_windows, 12 / std::size_t(pixel_bytes));
}

// --- the plan -----------------------------------------------------------------------------------

struct Plan {
    std::size_t columns;
    std::size_t bytes; // of a destination row
    std::size_t source_bytes;
    int pixel_bytes;
    std::size_t windows; // 0: pixels are moved
    std::size_t with_a_byte_more;
    // A source row that is shorter than the windows is read from here.
    alignas(lane_bytes) std::uint8_t narrow_row[most_windows * lane_bytes];

    bool is_narrow() const { return source_bytes < windows * lane_bytes; }
};

// What follows a plan: the offsets of all columns, where the windows of each lane begin, and for
// each vector and each of its windows which bytes to take. The last vector ends with the row, and
// makes bytes of the one before it again.
template <class V>
struct Parts {
    static constexpr std::size_t lanes = sizeof(V) / lane_bytes; // of a vector
    static constexpr std::size_t spare_offsets = lane_bytes;     // may be read behind the last

    Offset *offsets;
    Offset *starts;
    std::uint8_t *choices;

    explicit Parts(Plan *plan)
        : offsets(reinterpret_cast<Offset *>(plan + 1)),
          starts(offsets + plan->columns + spare_offsets),
          choices(
              static_cast<std::uint8_t *>(first_aligned(starts + lanes * vectors(plan->bytes)))) {}

    static std::size_t vectors(std::size_t row_bytes) {
        return (row_bytes + sizeof(V) - 1) / sizeof(V);
    }
    static std::size_t bytes(std::size_t columns, int pixel_bytes) {
        const std::size_t row_vectors = vectors(columns * std::size_t(pixel_bytes));
        return (columns + spare_offsets + lanes * row_vectors) * sizeof(Offset) + work_alignment +
               windows_that_pay(pixel_bytes) * row_vectors * sizeof(V);
    }
};

// --- offsets ------------------------------------------------------------------------------------

// Returns whether they ascend.
inline bool make_offsets(Offset *offsets, const Positions &columns, Extent source,
                         int pixel_bytes) {
    constexpr std::size_t step = sizeof(V16) / sizeof(Offset);
    const V16 first = _mm_set1_epi32(source.first), last = _mm_set1_epi32(source.last());
    const V16 factor = _mm_set1_epi32(pixel_bytes);
    const auto indices = [&](std::size_t x) {
        return load_16(reinterpret_cast<const std::uint8_t *>(columns.index + x));
    };
    V16 descents = _mm_setzero_si128();
    std::size_t x = 0;
    for (; x + step < columns.count; x += step) {
        const V16 here = indices(x);
        descents = descents | _mm_cmpgt_epi32(here, indices(x + 1));
        const V16 pixels = _mm_sub_epi32(_mm_min_epi32(_mm_max_epi32(here, first), last), first);
        store_16(reinterpret_cast<std::uint8_t *>(offsets + x), _mm_mullo_epi32(pixels, factor));
    }
    bool ascend = _mm_movemask_epi8(descents) == 0;
    for (; x < columns.count; ++x) {
        offsets[x] = offset_of(columns.index[x], source, pixel_bytes);
        ascend = ascend && (x == 0 || columns.index[x - 1] <= columns.index[x]);
    }
    return ascend;
}

// --- lanes --------------------------------------------------------------------------------------

// To which pixels, from the first on, the bytes of a lane belong, and which of their bytes they
// are. A lane may begin within a pixel.
struct LaneLayout {
    alignas(lane_bytes) std::array<std::uint8_t, lane_bytes> pixel, byte;
};

constexpr auto lane_layouts = [] {
    std::array<std::array<LaneLayout, most_pixel_bytes>, most_pixel_bytes + 1> layouts{};
    for (int pixel_bytes = 1; pixel_bytes <= most_pixel_bytes; ++pixel_bytes)
        for (int begin = 0; begin < pixel_bytes; ++begin)
            for (int i = 0; i < int(lane_bytes); ++i) {
                layouts[pixel_bytes][begin].pixel[i] = std::uint8_t((begin + i) / pixel_bytes);
                layouts[pixel_bytes][begin].byte[i] = std::uint8_t((begin + i) % pixel_bytes);
            }
    return layouts;
}();

struct Lane {
    std::size_t pixel;
    int byte;
};

// Calls take(lane) for all lanes of a row in turn.
template <class V, class Take>
void each_lane(const Plan &plan, const Take &take) {
    const int pixel_bytes = plan.pixel_bytes;
    const auto next = [pixels = lane_bytes / std::size_t(pixel_bytes),
                       bytes = int(lane_bytes) % pixel_bytes, pixel_bytes](Lane lane) {
        lane.pixel += pixels;
        lane.byte += bytes;
        return lane.byte < pixel_bytes ? lane : Lane{lane.pixel + 1, lane.byte - pixel_bytes};
    };
    const auto take_lanes = [&](Lane lane, std::size_t count) {
        for (; count != 0; --count, lane = next(lane))
            take(lane);
    };
    constexpr std::size_t lanes = Parts<V>::lanes;
    take_lanes({0, 0}, lanes * (Parts<V>::vectors(plan.bytes) - 1));
    const std::size_t last_vector = plan.bytes - sizeof(V);
    take_lanes(
        {last_vector / std::size_t(pixel_bytes), int(last_vector % std::size_t(pixel_bytes))},
        lanes);
}

// Stores where the source bytes of each lane begin, and returns the windows that the longest of
// them needs. Only the first and the last pixel of a lane may not be whole in it; the pixels beside
// them may be the same source pixels.
template <class V>
std::size_t make_starts(const Plan &plan, const Parts<V> &parts) {
    Offset most_bytes = 0;
    Offset *start = parts.starts;
    each_lane<V>(plan, [&](Lane lane) {
        const LaneLayout &layout = lane_layouts[plan.pixel_bytes][lane.byte];
        const Offset *const first = parts.offsets + lane.pixel;
        const Offset *const last = first + layout.pixel.back();
        const Offset begin = std::min(first[0] + Offset(lane.byte), first[1]);
        const Offset end =
            std::max(last[0] + layout.byte.back() + 1, last[-1] + Offset(plan.pixel_bytes));
        most_bytes = std::max(most_bytes, end - begin);
        *start++ = begin;
    });
    return (most_bytes + lane_bytes - 1) / lane_bytes;
}

// --- choices ------------------------------------------------------------------------------------

// The distances of a lane's source bytes from the first byte of its first pixel.
inline V16 distances(const Offset *offsets, const LaneLayout &layout) {
    const V16 first = _mm_set1_epi32(int(offsets[0]));
    const auto four = [&](int i) {
        return _mm_sub_epi32(load_16(reinterpret_cast<const std::uint8_t *>(offsets + 4 * i)),
                             first);
    };
    const V16 of_pixels =
        _mm_packus_epi16(_mm_packs_epi32(four(0), four(1)), _mm_packs_epi32(four(2), four(3)));
    return _mm_add_epi8(rows::shuffle(of_pixels, load_16(layout.pixel.data())),
                        load_16(layout.byte.data()));
}

// What a shuffle of the window takes as "this byte of it" or as "none": the top bit is set then.
inline V16 within_window(V16 distances_from_start, std::size_t window) {
    const V16 within = _mm_sub_epi8(distances_from_start, _mm_set1_epi8(char(lane_bytes * window)));
    return _mm_adds_epu8(within, _mm_set1_epi8(0x80 - lane_bytes));
}

// Windows that would reach beyond the source row are moved back to its end.
template <class V>
void make_choices(const Plan &plan, const Parts<V> &parts) {
    const std::size_t all_windows = plan.windows * lane_bytes;
    const Offset furthest = Offset(std::max(plan.source_bytes, all_windows) - all_windows);
    Offset *start = parts.starts;
    std::uint8_t *choice = parts.choices;
    std::size_t lane_of_vector = 0;
    each_lane<V>(plan, [&](Lane lane) {
        const Offset *const offsets = parts.offsets + lane.pixel;
        *start = std::min(*start, furthest);
        const V16 from_start =
            _mm_add_epi8(distances(offsets, lane_layouts[plan.pixel_bytes][lane.byte]),
                         _mm_set1_epi8(char(offsets[0] - *start)));
        ++start;
        for (std::size_t window = 0; window < plan.windows; ++window)
            store_16(choice + window * sizeof(V), within_window(from_start, window));
        choice += lane_bytes;
        if (++lane_of_vector == Parts<V>::lanes) {
            lane_of_vector = 0;
            choice += (plan.windows - 1) * sizeof(V);
        }
    });
}

// --- rows ---------------------------------------------------------------------------------------

template <class V>
V load_windows(const std::uint8_t *source_row, const Offset *starts) {
    if constexpr (Parts<V>::lanes == 1)
        return load_16(source_row + starts[0]);
    else
        return rows::load_lanes<V>(source_row + starts[0], starts[1] - starts[0]);
}

template <class V, std::size_t windows>
void take_windows(std::uint8_t *destination, std::size_t bytes, const std::uint8_t *source_row,
                  const Offset *starts, const std::uint8_t *choices) {
    const auto make_vector = [&](std::uint8_t *to) {
        V taken = rows::shuffle(load_windows<V>(source_row, starts), rows::load<V>(choices));
        for (std::size_t window = 1; window < windows; ++window)
            taken = taken | rows::shuffle(load_windows<V>(source_row + window * lane_bytes, starts),
                                          rows::load<V>(choices + window * sizeof(V)));
        rows::store(to, taken);
        starts += Parts<V>::lanes;
        choices += windows * sizeof(V);
    };
    std::uint8_t *const last = destination + bytes - sizeof(V);
    for (; destination < last; destination += sizeof(V))
        make_vector(destination);
    make_vector(last);
}

// --- kernels ------------------------------------------------------------------------------------

template <class V>
std::size_t plan_bytes(std::size_t columns, int pixel_bytes) {
    return sizeof(Plan) + Parts<V>::bytes(columns, pixel_bytes);
}

template <class V>
void make_plan(void *memory, const Positions &columns, Extent source, int pixel_bytes) {
    Plan &plan = *static_cast<Plan *>(memory);
    plan.columns = columns.count;
    plan.bytes = columns.count * std::size_t(pixel_bytes);
    plan.source_bytes = std::size_t(source.count) * std::size_t(pixel_bytes);
    plan.pixel_bytes = pixel_bytes;
    plan.windows = 0;

    const Parts<V> parts(&plan);
    const bool ascend = make_offsets(parts.offsets, columns, source, pixel_bytes);
    if (ascend && plan.bytes >= sizeof(V)) {
        std::fill_n(parts.offsets + plan.columns, Parts<V>::spare_offsets, Offset(0));
        const std::size_t windows = make_starts(plan, parts);
        if (windows <= windows_that_pay(pixel_bytes))
            plan.windows = windows;
    }
    if (plan.windows != 0)
        make_choices(plan, parts);
    else
        plan.with_a_byte_more = columns_that_move_a_byte_more(
            parts.offsets, plan.columns, offset_of(source.last(), source, pixel_bytes));
}

template <class V>
void across(std::uint8_t *destination, void *memory, const std::uint8_t *source_row) {
    Plan &plan = *static_cast<Plan *>(memory);
    const Parts<V> parts(&plan);
    if (plan.windows == 0) {
        moves[plan.pixel_bytes](destination, source_row, parts.offsets, plan.columns,
                                plan.with_a_byte_more);
        return;
    }
    if (plan.is_narrow()) {
        std::memcpy(plan.narrow_row, source_row, plan.source_bytes);
        source_row = plan.narrow_row;
    }
    using Take = void(std::uint8_t *, std::size_t, const std::uint8_t *, const Offset *,
                      const std::uint8_t *);
    static constexpr Take *takes[most_windows + 1] = {
        nullptr,
        take_windows<V, 1>,
        take_windows<V, 2>,
        take_windows<V, 3>,
        take_windows<V, 4>,
        take_windows<V, 5>,
        take_windows<V, 6>,
        take_windows<V, 7>,
        take_windows<V, 8>,
    };
    takes[plan.windows](destination, plan.bytes, source_row, parts.starts, parts.choices);
}

template <class V>
constexpr NearestKernels nearest_by_windows{plan_bytes<V>, make_plan<V>, across<V>};

} // namespace
} // namespace q32::resample
