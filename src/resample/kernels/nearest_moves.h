// What the wide forms of nearest neighbour know of the columns of a destination row: where each
// one's pixel lies in the source row. And rows made by moving pixels one after another, of 1 to 8
// bytes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/method_forms.h"
#include "simd/operations.h"

#include <cstring>

namespace q32::resample {
namespace {

// --- the plan -----------------------------------------------------------------------------------

// Distances of the columns' pixels from the start of a source row. A row has less than 4 GB.
using Offset = std::uint32_t;

constexpr size_t lane_bytes = sizeof(V16);

constexpr size_t most_window_bytes = 256; // in a row: what a byte can count

constexpr size_t most_runs = 4; // of columns that lie two pixels apart

// Followed by the offsets of all columns, where the windows of each stretch of the row begin, and
// for each vector which bytes of them to take (nearest_windows.h).
struct Plan {
    using MakeRow = void(uint8_t *destination, Plan &plan, const uint8_t *source_row);
    using MakeRows = void(uint8_t *destination, size_t stride, Plan &plan, const SourceBand &source,
                          const std::int32_t *row_indices, size_t rows);

    MakeRow *make_row;
    MakeRows *make_rows; // several of them (nearest_rows.h)
    size_t columns;
    size_t row_bytes; // of a destination row
    size_t source_bytes;
    int pixel_bytes;
    size_t windows;
    size_t with_a_byte_more; // when pixels are moved
    size_t runs;             // when every second pixel is kept (nearest_half.h)
    size_t run_end[most_runs];
    Offset *starts;
    uint8_t *choices;
    // A source row that is shorter than the windows is read from here.
    alignas(lane_bytes) uint8_t narrow_row[most_window_bytes];

    Offset *offsets() { return reinterpret_cast<Offset *>(this + 1); }
    const Offset *offsets() const { return reinterpret_cast<const Offset *>(this + 1); }
};

constexpr size_t spare_offsets = lane_bytes; // may be read behind the last

// Returns whether they ascend.
inline bool make_offsets(Offset *offsets, const Positions &columns, Span source, int pixel_bytes) {
    bool ascend = true;
    size_t x = 0;
#ifdef __SSE4_1__
    constexpr size_t step = sizeof(V16) / sizeof(Offset);
    const V16 first = repeat_u32<V16>(source.first), last = repeat_u32<V16>(source.last());
    const V16 factor = repeat_u32<V16>(pixel_bytes);
    const auto indices = [&](size_t at) { return load_16(columns.index + at); };
    V16 descents = zero<V16>();
    for (; x + step < columns.count; x += step) {
        const V16 here = indices(x);
        descents = descents | _mm_cmpgt_epi32(here, indices(x + 1));
        const V16 pixels = subtract_u32(min_i32(max_i32(here, first), last), first);
        store_16(offsets + x, multiply_low_u32(pixels, factor));
    }
    ascend = top_bits(descents) == 0;
#endif
    std::fill_n(offsets + columns.count, spare_offsets, Offset(0));
    for (; x < columns.count; ++x) {
        offsets[x] = Offset(source.distance(columns.index[x])) * Offset(pixel_bytes);
        ascend = ascend && (x == 0 || columns.index[x - 1] <= columns.index[x]);
    }
    return ascend;
}

// --- moves --------------------------------------------------------------------------------------

template <class Number>
void move(uint8_t *to, const uint8_t *from) {
    Number number;
    std::memcpy(&number, from, sizeof number);
    std::memcpy(to, &number, sizeof number);
}

template <int bytes>
void move_pixel(uint8_t *to, const uint8_t *from) {
    if constexpr (bytes > 4) { // both ends
        move<std::uint32_t>(to, from);
        move<std::uint32_t>(to + bytes - 4, from + bytes - 4);
    } else if constexpr (bytes == 4) {
        move<std::uint32_t>(to, from);
    } else {
        if constexpr (bytes >= 2)
            move<std::uint16_t>(to, from);
        if constexpr (bytes % 2 != 0)
            move<uint8_t>(to + bytes - 1, from + bytes - 1);
    }
}

// Pixels of three bytes are moved as four where the fourth is neither beyond the source row nor
// beyond the destination: in the columns before the first that reads the last pixel of the source.
inline size_t columns_that_move_a_byte_more(const Plan &plan) {
    if (plan.columns == 0)
        return 0;
    const Offset last = Offset(plan.source_bytes) - Offset(plan.pixel_bytes);
    const Offset *const end = plan.offsets() + plan.columns - 1;
    return size_t(std::find(plan.offsets(), end, last) - plan.offsets());
}

// Works on copies: the compiler must think that storing pixels changes the plan.
template <int bytes>
void move_row(uint8_t *destination, Plan &plan, const uint8_t *source_row) {
    const Offset *const offsets = plan.offsets();
    const size_t columns = plan.columns;
    size_t x = 0;
    if constexpr (bytes == 3)
        for (const size_t end = plan.with_a_byte_more; x < end; ++x, destination += bytes)
            move_pixel<bytes + 1>(destination, source_row + offsets[x]);
    for (; x < columns; ++x, destination += bytes)
        move_pixel<bytes>(destination, source_row + offsets[x]);
}

constexpr int most_pixel_bytes = 8;
constexpr Plan::MakeRow *move_rows[most_pixel_bytes + 1] = {
    nullptr,     move_row<1>, move_row<2>, move_row<3>, move_row<4>,
    move_row<5>, move_row<6>, move_row<7>, move_row<8>,
};

inline void plan_moves(Plan &plan) {
    plan.with_a_byte_more = columns_that_move_a_byte_more(plan);
    plan.make_row = move_rows[plan.pixel_bytes];
}

} // namespace
} // namespace q32::resample
