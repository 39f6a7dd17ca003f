// Nearest neighbour of several rows in one call. Rows of a hundred bytes are made in the time that
// a call of their own takes: what is the same for all of them is done once here.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/nearest_half.h"
#ifdef __SSE4_1__
#include "resample/kernels/nearest_windows.h"
#endif

namespace q32::resample {
namespace {

// --- row by row ---------------------------------------------------------------------------------

template <class V>
void copy_row(uint8_t *to, const uint8_t *from, size_t bytes) {
    constexpr size_t left_to_runtime = 1024; // whose own copy of so many bytes is faster
    if (bytes < sizeof(V) || bytes >= left_to_runtime) {
        std::memcpy(to, from, bytes);
        return;
    }
    const size_t last = bytes - sizeof(V);
    for (size_t at = 0; at < last; at += sizeof(V))
        store(to + at, load<V>(from + at));
    store(to + last, load<V>(from + last));
}

// Those of the same source row are copied.
template <class V>
void make_each_row(uint8_t *destination, size_t stride, Plan &plan, const SourceBand &source,
                   const std::int32_t *row_indices, size_t rows) {
    const size_t row_bytes = plan.row_bytes;
    for (size_t y = 0; y < rows; ++y, destination += stride)
        if (y != 0 && row_indices[y] == row_indices[y - 1])
            copy_row<V>(destination, destination - stride, row_bytes);
        else
            plan.make_row(destination, plan, source.row(row_indices[y]));
}

// --- by blocks of rows --------------------------------------------------------------------------

constexpr size_t rows_of_block = 8;
using BlockRows = const uint8_t *[rows_of_block];

// Calls make(destination, source_rows, count) for all rows in turn.
template <class Make>
void each_block(uint8_t *destination, size_t stride, const SourceBand &source,
                const std::int32_t *row_indices, size_t rows, const Make &make) {
    BlockRows source_rows;
    for (size_t y = 0, some; y < rows; y += some, destination += some * stride) {
        some = std::min(rows - y, rows_of_block);
        for (size_t i = 0; i < some; ++i)
            source_rows[i] = source.row(row_indices[y + i]);
        make(destination, source_rows, some);
    }
}

// Few pixels, one below the other.
constexpr size_t few_bytes = lane_bytes;

template <int bytes>
void move_in_rows(uint8_t *destination, size_t stride, Plan &plan, const SourceBand &source,
                  const std::int32_t *row_indices, size_t rows) {
    each_block(destination, stride, source, row_indices, rows,
               [&](uint8_t *block, const BlockRows &source_rows, size_t count) {
                   for (size_t x = 0; x < plan.columns; ++x) {
                       const Offset from = plan.offsets()[x];
                       uint8_t *to = block + x * bytes;
                       for (size_t y = 0; y < count; ++y, to += stride)
                           move_pixel<bytes>(to, source_rows[y] + from);
                   }
               });
}

constexpr Plan::MakeRows *few_moves[most_pixel_bytes + 1] = {
    nullptr,         move_in_rows<1>, move_in_rows<2>, move_in_rows<3>, move_in_rows<4>,
    move_in_rows<5>, move_in_rows<6>, move_in_rows<7>, move_in_rows<8>,
};

template <class V>
Plan::MakeRows *rows_of_moves(const Plan &plan) {
    return plan.row_bytes < few_bytes ? few_moves[plan.pixel_bytes] : make_each_row<V>;
}

// --- every second byte --------------------------------------------------------------------------

// Of 16 bytes, into 8.
inline void keep_eight(uint8_t *to, const uint8_t *from) {
    const V16 even = load_16(from) & repeat_u16<V16>(0x00FF);
    _mm_storel_epi64(reinterpret_cast<__m128i *>(to), pack_i16_to_u8_in_order(even, even));
}

// Runs are short where the columns of a cell are made: each by the widest vector that fits into it.
template <class V>
void keep_run_in_rows(uint8_t *to, size_t stride, const uint8_t *const *source_rows, Offset from,
                      size_t bytes, size_t rows) {
    const auto each_row = [&](const auto &keep) {
        for (size_t y = 0; y < rows; ++y)
            keep(to + y * stride, source_rows[y] + from);
    };
    const auto keep = [&](uint8_t *row, const uint8_t *source, auto vector, size_t at) {
        using X = decltype(vector);
        source += 2 * at;
        store(row + at, every_second<1>(load<X>(source), load<X>(source + sizeof(X))));
    };
    const auto by_vectors = [&](auto vector) {
        const size_t last = bytes - sizeof vector;
        each_row([&](uint8_t *row, const uint8_t *source) {
            for (size_t at = 0; at < last; at += sizeof vector)
                keep(row, source, vector, at);
            keep(row, source, vector, last);
        });
    };
    if (bytes >= sizeof(V))
        by_vectors(V());
    else if (bytes >= sizeof(V16))
        by_vectors(V16());
    else if (bytes >= 8)
        each_row([&](uint8_t *row, const uint8_t *source) {
            keep_eight(row, source);
            keep_eight(row + bytes - 8, source + 2 * (bytes - 8));
        });
    else
        each_row([&](uint8_t *row, const uint8_t *source) {
            for (size_t at = 0; at < bytes; ++at)
                row[at] = source[2 * at];
        });
}

template <class V>
void keep_in_rows(uint8_t *destination, size_t stride, Plan &plan, const SourceBand &source,
                  const std::int32_t *row_indices, size_t rows) {
    each_block(destination, stride, source, row_indices, rows,
               [&](uint8_t *block, const BlockRows &source_rows, size_t count) {
                   for (size_t i = 0, x = 0; i < plan.runs; x = plan.run_end[i++])
                       keep_run_in_rows<V>(block + x, stride, source_rows, plan.offsets()[x],
                                           plan.run_end[i] - x, count);
               });
}

// Longer rows do not gain by blocks; and those a power of two apart would drive each other out of
// the cache.
constexpr size_t longest_row_of_block = 192;

template <class V>
Plan::MakeRows *rows_of_halves(const Plan &plan) {
    return plan.pixel_bytes == 1 && plan.row_bytes <= longest_row_of_block ? keep_in_rows<V>
                                                                           : make_each_row<V>;
}

// --- by windows ---------------------------------------------------------------------------------

#ifdef __SSE4_1__
// The choices of a vector stay in registers for all rows of a block.
template <class V, size_t windows>
void take_block(uint8_t *destination, size_t stride, const Plan &plan, const BlockRows &source_rows,
                size_t rows) {
    constexpr size_t choice_vectors = Windows<V>::choices(windows);
    const Offset *next_starts = plan.starts;
    const uint8_t *next_choices = plan.choices;
    const auto make_vectors = [&](size_t at) {
        Offset starts[starts_of_vector<V>];
        std::copy_n(next_starts, starts_of_vector<V>, starts);
        alignas(V) uint8_t choices[choice_vectors * sizeof(V)];
        for (size_t i = 0; i < choice_vectors; ++i)
            store(choices + i * sizeof(V), load<V>(next_choices + i * sizeof(V)));
        next_starts += starts_of_vector<V>;
        next_choices += sizeof choices;
        uint8_t *to = destination + at;
        for (size_t y = 0; y < rows; ++y, to += stride)
            store(to, take_bytes<V, windows>(source_rows[y], starts, choices));
    };
    const size_t last = plan.row_bytes - sizeof(V);
    for (size_t at = 0; at < last; at += sizeof(V))
        make_vectors(at);
    make_vectors(last);
}

template <class V, size_t windows>
void take_in_rows(uint8_t *destination, size_t stride, Plan &plan, const SourceBand &source,
                  const std::int32_t *row_indices, size_t rows) {
    each_block(destination, stride, source, row_indices, rows,
               [&](uint8_t *block, const BlockRows &source_rows, size_t count) {
                   take_block<V, windows>(block, stride, plan, source_rows, count);
               });
}

template <class V>
constexpr auto take_in_rows_by = []<size_t... less_one>(std::index_sequence<less_one...>) {
    return std::array<Plan::MakeRows *, Windows<V>::most + 1>{nullptr,
                                                              take_in_rows<V, less_one + 1>...};
}
(std::make_index_sequence<Windows<V>::most>());

template <class V>
Plan::MakeRows *rows_of_windows(const Plan &plan) {
    const bool is_narrow = plan.source_bytes < plan.windows * Windows<V>::bytes;
    if (is_narrow || plan.row_bytes > longest_row_of_block)
        return make_each_row<V>;
    const auto &by_windows = take_in_rows_by<V>;
    return by_windows[plan.windows];
}
#endif

} // namespace
} // namespace q32::resample
