// Nearest neighbour by choosing bytes: 16 bytes of the destination, a lane, come out of the next
// 16, 32, 48 ... bytes of the source row, its windows, by one shuffle of each, whatever the size of
// the pixels. Vectors of 64 bytes choose from windows of 64 bytes, across lanes. Where columns lie
// too far apart for that, or do not ascend, pixels are moved.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/nearest_moves.h"

#include <array>
#include <cstring>
#include <utility>

namespace q32::resample {
namespace {

// A shuffle chooses within lanes, so that every window of every lane has choices of its own: bytes
// that lie in another window come out as 0.
template <class V>
struct Windows {
    static constexpr size_t bytes = lane_bytes; // of a window
    static constexpr size_t most = 8;

    // A window costs about as much as moving a pixel, and a little more.
    static size_t that_pay(int pixel_bytes) { return std::min(most, 12 / size_t(pixel_bytes)); }
    static constexpr size_t choices(size_t windows) { return windows; }
};

#ifdef __AVX512VBMI__
// The choices of a vector count through all of its windows.
template <>
struct Windows<V64> {
    static constexpr size_t bytes = sizeof(V64);
    static constexpr size_t most = 4;

    static size_t that_pay(int) { return most; }
    static constexpr size_t choices(size_t) { return 1; }
};
#endif

// --- the plan -----------------------------------------------------------------------------------

// The last vector ends with the row, and makes bytes of the one before it again.
template <class V>
constexpr size_t vectors(size_t row_bytes) {
    return (row_bytes + sizeof(V) - 1) / sizeof(V);
}
template <class V>
constexpr size_t starts_of_vector = sizeof(V) / Windows<V>::bytes;

template <class V>
size_t bytes_behind_offsets(size_t columns, int pixel_bytes) {
    return vectors<V>(columns * size_t(pixel_bytes)) *
               (starts_of_vector<V> * sizeof(Offset) +
                Windows<V>::choices(Windows<V>::that_pay(pixel_bytes)) * sizeof(V)) +
           work_alignment;
}

template <class V>
void lay_out(Plan &plan) {
    plan.starts = plan.offsets() + plan.columns + spare_offsets;
    plan.choices = static_cast<uint8_t *>(
        first_aligned(plan.starts + starts_of_vector<V> * vectors<V>(plan.row_bytes)));
}

// --- lanes --------------------------------------------------------------------------------------

// To which pixels, from the first on, the bytes of a lane belong, and which of their bytes they
// are. A lane may begin within a pixel.
struct LaneLayout {
    alignas(lane_bytes) std::array<uint8_t, lane_bytes> pixel, byte;
};

constexpr auto lane_layouts = [] {
    std::array<std::array<LaneLayout, most_pixel_bytes>, most_pixel_bytes + 1> layouts{};
    for (int pixel_bytes = 1; pixel_bytes <= most_pixel_bytes; ++pixel_bytes)
        for (int begin = 0; begin < pixel_bytes; ++begin)
            for (int i = 0; i < int(lane_bytes); ++i) {
                layouts[pixel_bytes][begin].pixel[i] = uint8_t((begin + i) / pixel_bytes);
                layouts[pixel_bytes][begin].byte[i] = uint8_t((begin + i) % pixel_bytes);
            }
    return layouts;
}();

struct Lane {
    size_t pixel;
    int byte;
};

// Calls take(lane) for all lanes of a row in turn.
template <class V, class Take>
void each_lane(const Plan &plan, const Take &take) {
    const int pixel_bytes = plan.pixel_bytes;
    const auto next = [pixels = lane_bytes / size_t(pixel_bytes),
                       bytes = int(lane_bytes) % pixel_bytes, pixel_bytes](Lane lane) {
        lane.pixel += pixels;
        lane.byte += bytes;
        return lane.byte < pixel_bytes ? lane : Lane{lane.pixel + 1, lane.byte - pixel_bytes};
    };
    const auto take_lanes = [&](Lane lane, size_t count) {
        for (; count != 0; --count, lane = next(lane))
            take(lane);
    };
    constexpr size_t lanes = sizeof(V) / lane_bytes;
    take_lanes({0, 0}, lanes * (vectors<V>(plan.row_bytes) - 1));
    const size_t last_vector = plan.row_bytes - sizeof(V);
    take_lanes({last_vector / size_t(pixel_bytes), int(last_vector % size_t(pixel_bytes))}, lanes);
}

// Stores where the source bytes begin that come out of the same windows, and returns the windows
// that the longest of these stretches needs. Only the first and the last pixel of a lane may not be
// whole in it; the pixels beside them may be the same source pixels.
template <class V>
size_t make_starts(Plan &plan) {
    constexpr size_t lanes = Windows<V>::bytes / lane_bytes;
    Offset most_bytes = 0;
    size_t i = 0;
    each_lane<V>(plan, [&](Lane lane) {
        const LaneLayout &layout = lane_layouts[plan.pixel_bytes][lane.byte];
        const Offset *const first = plan.offsets() + lane.pixel;
        const Offset *const last = first + layout.pixel.back();
        Offset &start = plan.starts[i / lanes];
        if (i % lanes == 0)
            start = std::min(first[0] + Offset(lane.byte), first[1]);
        if (++i % lanes == 0)
            most_bytes = std::max(most_bytes, std::max(last[0] + layout.byte.back() + 1,
                                                       last[-1] + Offset(plan.pixel_bytes)) -
                                                  start);
    });
    return (most_bytes + Windows<V>::bytes - 1) / Windows<V>::bytes;
}

// --- choices ------------------------------------------------------------------------------------

// The distances of a lane's source bytes from the first byte of its first pixel: less than the
// windows have, since whole pixels end the stretch that they hold.
inline V16 distances(const Offset *offsets, const LaneLayout &layout) {
    const V16 first = repeat_u32<V16>(int(offsets[0]));
    const auto four = [&](int i) { return subtract_u32(load_16(offsets + 4 * i), first); };
    const V16 of_pixels = pack_i16_to_u8_in_lanes(pack_i32_to_i16_in_lanes(four(0), four(1)),
                                                  pack_i32_to_i16_in_lanes(four(2), four(3)));
    return add_u8(shuffle_u8(of_pixels, load_16(layout.pixel.data())), load_16(layout.byte.data()));
}

// What a shuffle of the window takes as "this byte of it" or as "none": the top bit is set then.
inline V16 within_window(V16 distances_from_start, size_t window) {
    const V16 within = subtract_u8(distances_from_start, repeat_u8<V16>(int(lane_bytes * window)));
    return add_saturating_u8(within, repeat_u8<V16>(nothing - lane_bytes));
}

// Windows that would reach beyond the source row are moved back to its end.
template <class V>
void make_choices(Plan &plan) {
    constexpr size_t lanes = Windows<V>::bytes / lane_bytes;
    const size_t all_windows = plan.windows * Windows<V>::bytes;
    const Offset furthest = Offset(std::max(plan.source_bytes, all_windows) - all_windows);
    const size_t choices = Windows<V>::choices(plan.windows);
    uint8_t *choice = plan.choices;
    size_t i = 0;
    each_lane<V>(plan, [&](Lane lane) {
        const Offset *const offsets = plan.offsets() + lane.pixel;
        Offset &start = plan.starts[i / lanes];
        if (i % lanes == 0)
            start = std::min(start, furthest);
        const V16 from_start = add_u8(distances(offsets, lane_layouts[plan.pixel_bytes][lane.byte]),
                                      repeat_u8<V16>(int(offsets[0] - start)));
        if constexpr (lanes == 1)
            for (size_t window = 0; window < choices; ++window)
                store_16(choice + window * sizeof(V), within_window(from_start, window));
        else
            store_16(choice, from_start);
        choice += lane_bytes;
        if (++i % (sizeof(V) / lane_bytes) == 0) // behind the vector's further windows
            choice += (choices - 1) * sizeof(V);
    });
}

// --- rows ---------------------------------------------------------------------------------------

template <class V>
V load_windows(const uint8_t *at, const Offset *starts) {
    if constexpr (starts_of_vector<V> == 1)
        return load<V>(at + starts[0]);
    else
        return load_lanes<V>(at + starts[0], starts[1] - starts[0]);
}

template <class V, size_t windows>
V take_bytes(const uint8_t *source_row, const Offset *starts, const uint8_t *choices) {
    V taken = shuffle_u8(load_windows<V>(source_row, starts), load<V>(choices));
    for (size_t window = 1; window < windows; ++window)
        taken = taken | shuffle_u8(load_windows<V>(source_row + window * lane_bytes, starts),
                                   load<V>(choices + window * sizeof(V)));
    return taken;
}

#ifdef __AVX512VBMI__
// The top bit of a choice is for the second pair of windows.
template <>
inline V64 take_bytes<V64, 1>(const uint8_t *source_row, const Offset *starts,
                              const uint8_t *choices) {
    return permute_u8(load_windows<V64>(source_row, starts), load<V64>(choices));
}
template <>
inline V64 take_bytes<V64, 2>(const uint8_t *source_row, const Offset *starts,
                              const uint8_t *choices) {
    return _mm512_permutex2var_epi8(load_windows<V64>(source_row, starts), load<V64>(choices),
                                    load_windows<V64>(source_row + sizeof(V64), starts));
}
template <>
inline V64 take_bytes<V64, 3>(const uint8_t *source_row, const Offset *starts,
                              const uint8_t *choices) {
    const V64 choice = load<V64>(choices);
    return _mm512_mask_permutexvar_epi8(take_bytes<V64, 2>(source_row, starts, choices),
                                        _mm512_movepi8_mask(choice), choice,
                                        load_windows<V64>(source_row + 2 * sizeof(V64), starts));
}
template <>
inline V64 take_bytes<V64, 4>(const uint8_t *source_row, const Offset *starts,
                              const uint8_t *choices) {
    const V64 choice = load<V64>(choices);
    const V64 first = take_bytes<V64, 2>(source_row, starts, choices);
    const V64 second = take_bytes<V64, 2>(source_row + 2 * sizeof(V64), starts, choices);
    return select_by_top_bits_u8(choice, second, first);
}
#endif

template <class V, size_t windows>
void take_row(uint8_t *destination, Plan &plan, const uint8_t *source_row) {
    if (plan.source_bytes < windows * Windows<V>::bytes) {
        std::memcpy(plan.narrow_row, source_row, plan.source_bytes);
        source_row = plan.narrow_row;
    }
    const Offset *starts = plan.starts;
    const uint8_t *choices = plan.choices;
    const auto make_vector = [&](uint8_t *to) {
        store(to, take_bytes<V, windows>(source_row, starts, choices));
        starts += starts_of_vector<V>;
        choices += Windows<V>::choices(windows) * sizeof(V);
    };
    uint8_t *const last = destination + plan.row_bytes - sizeof(V);
    for (; destination < last; destination += sizeof(V))
        make_vector(destination);
    make_vector(last);
}

// By the number of windows.
template <class V>
constexpr auto take_rows = []<size_t... less_one>(std::index_sequence<less_one...>) {
    return std::array<Plan::MakeRow *, Windows<V>::most + 1>{nullptr, take_row<V, less_one + 1>...};
}
(std::make_index_sequence<Windows<V>::most>());

// Returns false when the row is too short or the columns lie too far apart.
template <class V>
bool plan_windows(Plan &plan) {
    if (plan.row_bytes < sizeof(V))
        return false;
    lay_out<V>(plan);
    plan.windows = make_starts<V>(plan);
    if (plan.windows > Windows<V>::that_pay(plan.pixel_bytes))
        return false;
    make_choices<V>(plan);
    plan.make_row = take_rows<V>[plan.windows];
    return true;
}

} // namespace
} // namespace q32::resample
