// Bicubic interpolation across: a source row becomes a line.
//
// Private to the file that includes it, as bicubic_plan.h.
#pragma once

#include "resample/kernels/bicubic_plan.h"

#include <cstring>

namespace q32::resample {
namespace {

// --- the ends of rows ---------------------------------------------------------------------------

template <int samples>
void copy_pixel(uint8_t *to, const uint8_t *from) {
    for (int i = 0; i < samples; ++i)
        to[i] = from[i];
}

template <int samples>
void fill_edges(Edges &edges, const uint8_t *row, int row_bytes) {
    constexpr int vector = sizeof(V16);
    uint8_t *end = edges.bytes + Edges::row_end;
    if (row_bytes >= vector) {
        copy_pixel<samples>(edges.bytes, row);
        store_16(edges.bytes + samples, load_16(row));
        store_16(end - vector, load_16(row + row_bytes - vector));
    } else {
        for (int i = 0; i < row_bytes; ++i)
            end[i - row_bytes] = row[i];
        copy_pixel<samples>(end - row_bytes - samples, row);
    }
    copy_pixel<samples>(end, end - samples);
    copy_pixel<samples>(end + samples, end - samples);
}

// A source row as the plan's offsets see it.
struct SourceRow {
    const uint8_t *row, *edges;

    const uint8_t *at(std::int32_t offset) const {
        return offset >= 0 ? row + offset : edges + ~offset;
    }
};

// --- sums ---------------------------------------------------------------------------------------

// Four taps for each double word of a sum: at -1 and 1, and at 0 and 2, as words.
template <class V>
struct Taps {
    V even, odd;
};

// From four bytes in a row.
template <class V>
Taps<V> taps_of_bytes(V bytes) {
    return {bytes & repeat_u16<V>(0xFF), shift_right_u16<8>(bytes)};
}

// From four pixels in a row in each lane: the taps of each sample, and of a fourth one.
// Where these are not taken apart at once the compiler counts them as memory, finds that too much,
// and makes calls of the innermost pieces.
template <int samples, class V>
[[gnu::always_inline]] inline Taps<V> taps_of_pixels(V pixels) {
#ifdef __SSE4_1__
    constexpr int s = samples;
    const V16 order = s == 3 ? _mm_setr_epi8(0, 3, 6, 9, 1, 4, 7, 10, 2, 5, 8, 11, -1, -1, -1, -1)
                             : _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return taps_of_bytes(shuffle_u8(pixels, repeat_lane<V>(order)));
#else
    const V even = interleave_low_u8(pixels, _mm_srli_si128(pixels, 2 * samples));
    const V odd =
        interleave_low_u8(_mm_srli_si128(pixels, samples), _mm_srli_si128(pixels, 3 * samples));
    return {widen_u8_to_u16<0>(even), widen_u8_to_u16<0>(odd)};
#endif
}

// Rounded, a 64th of them, less the bias.
template <class V>
V sums_of(Taps<V> taps, V even_weights, V odd_weights) {
    const V sums =
        add_u32(sum_products_i16(taps.even, even_weights), sum_products_i16(taps.odd, odd_weights));
    return shift_right_i32<6>(add_u32(sums, repeat_u32<V>(32 - (line_bias << 6))));
}

// What a line keeps of sums: negative ones, dropped, are its lowest word.
template <class V>
V words_of_sums(V a, V b) {
    return pack_i32_to_i16_in_lanes(a, b);
}

template <class V>
V excess_of_sums(V a, V b) {
    const V limit = repeat_u32<V>(most_of_word);
    return max_i16(pack_i32_to_i16_in_lanes(subtract_u32(a, limit), subtract_u32(b, limit)),
                   zero<V>());
}

// What a walk over steps makes.
enum class Parts { words, excess, both };

constexpr bool has_words(Parts parts) {
    return parts != Parts::excess;
}
constexpr bool has_excess(Parts parts) {
    return parts != Parts::words;
}

// A place in both parts of a line.
struct LinePlace {
    uint8_t *words, *excess;

    LinePlace operator+(size_t bytes) const { return {words + bytes, excess + bytes}; }
};

// --- pixels of three and four samples -----------------------------------------------------------

// The taps of column k, and in another lane of column k + 4.
template <bool in_row, class V>
V load_columns(const SourceRow &source, const std::int32_t *offset, int k) {
    const auto load_column = [&](int column) {
        return load_16(in_row ? source.row + offset[column] : source.at(offset[column]));
    };
    if constexpr (lanes<V> == 1)
        return load_column(k);
    else
        return join_lanes<V>(load_column(k), load_column(k + 4));
}

// Stores columns 0 and 1 and columns 2 and 3 of each lane, four samples for each; of three samples
// only those, and what is beyond is overwritten by the next ones.
template <int samples>
void store_columns(uint8_t *at, V16 first, V16 second) {
    if constexpr (samples == 4) {
        store_16(at, first);
        store_16(at + 16, second);
    } else {
#ifdef __SSE4_1__
        store_16(at, first);
        store_16(at + 12, second);
#else
        store_8(at, first);
        store_8(at + 6, interleave_high_u64(first, first));
        store_8(at + 12, second);
        store_8(at + 18, interleave_high_u64(second, second));
#endif
    }
}

template <int samples, class V>
V closed_up(V words) {
#ifdef __SSE4_1__
    if constexpr (samples == 3)
        return shuffle_u8(words, repeat_lane<V>(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12,
                                                              13, -1, -1, -1, -1)));
#endif
    return words;
}

template <int pixel_samples, bool in_row, class V>
struct ColumnsOfPixels {
    static constexpr int samples = pixel_samples;
    static constexpr size_t steps_at_once = 1;
    using Vector = V;

    // Answers the highest words.
    template <Parts parts>
    static V make_words(LinePlace to, const Step *step, const SourceRow &source) {
        V most = four_columns<parts>(to, *step, source, 0);
        if constexpr (lanes<V> == 1)
            most = max_i16(most, four_columns<parts>(to + bytes_of_four, *step, source, 4));
        return most;
    }

private:
    static constexpr size_t bytes_of_four = 4 * samples * sizeof(std::int16_t);

    template <int i>
    [[gnu::always_inline]] static V sums_of_column(const Step &step, const SourceRow &source,
                                                   int k) {
        const V pixels = load_columns<in_row, V>(source, step.offset, k + i);
        return sums_of(taps_of_pixels<samples>(pixels),
                       repeat_u32_in_lanes<i>(load<V>(step.even + k)),
                       repeat_u32_in_lanes<i>(load<V>(step.odd + k)));
    }

    // And four columns on in another lane.
    template <Parts parts>
    static V four_columns(LinePlace to, const Step &step, const SourceRow &source, int k) {
        const V sums_0 = sums_of_column<0>(step, source, k);
        const V sums_1 = sums_of_column<1>(step, source, k);
        const V a = words_of_sums(sums_0, sums_1);
        [[maybe_unused]] const V excess_a = excess_of_sums(sums_0, sums_1);
        const V sums_2 = sums_of_column<2>(step, source, k);
        const V sums_3 = sums_of_column<3>(step, source, k);
        const V b = words_of_sums(sums_2, sums_3);
        if constexpr (has_words(parts))
            store_four(to.words, a, b);
        if constexpr (has_excess(parts))
            store_four(to.excess, excess_a, excess_of_sums(sums_2, sums_3));
        return max_i16(a, b);
    }

    static void store_four(uint8_t *to, V first, V second) {
        const V a = closed_up<samples>(first), b = closed_up<samples>(second);
        store_columns<samples>(to, lane_of<0>(a), lane_of<0>(b));
        if constexpr (lanes<V> == 2)
            store_columns<samples>(to + bytes_of_four, lane_of<1>(a), lane_of<1>(b));
    }
};

// --- single samples -----------------------------------------------------------------------------

inline int load_4(const uint8_t *at) {
    int bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

enum class TapsFrom { windows, fours };

template <TapsFrom from, class V>
struct Singles {
    static constexpr int samples = 1;
    static constexpr size_t steps_at_once = lanes<V>;
    using Vector = V;

    template <Parts parts>
    static V make_words(LinePlace to, const SingleStep *step, const SourceRow &source) {
        constexpr int columns = 4 * lanes<V>;
        const V first = sums(step[0], source, 0);
        const V second = sums(step[columns / columns_per_step], source, columns % columns_per_step);
        const V words = words_of_sums(first, second);
        if constexpr (has_words(parts))
            store(to.words, packed_in_order(words));
        if constexpr (has_excess(parts))
            store(to.excess, packed_in_order(excess_of_sums(first, second)));
        return words;
    }

private:
    // From column k on.
    static V sums(const SingleStep &step, const SourceRow &source, int k) {
        V bytes = load_taps(source, step.offset + k);
#ifdef __SSE4_1__
        bytes = shuffle_u8(bytes, load<V>(step.taps + 4 * k));
#endif
        return sums_of(taps_of_bytes(bytes), load<V>(step.even + k), load<V>(step.odd + k));
    }

    static V load_taps(const SourceRow &source, const std::int32_t *offset) {
        if constexpr (lanes<V> == 1)
            return load_lane(source, offset);
        else
            return join_lanes<V>(load_lane(source, offset), load_lane(source, offset + 4));
    }

    static V16 load_lane(const SourceRow &source, const std::int32_t *offset) {
        if constexpr (from == TapsFrom::windows)
            return load_16(source.row + offset[0]);
#ifdef __SSE4_1__
        return _mm_setr_epi32(load_4(source.row + offset[0]), load_4(source.row + offset[1]),
                              load_4(source.row + offset[2]), load_4(source.row + offset[3]));
#else
        return _mm_setr_epi32(load_4(source.at(offset[0])), load_4(source.at(offset[1])),
                              load_4(source.at(offset[2])), load_4(source.at(offset[3])));
#endif
    }
};

#ifdef __SSE4_1__
// A row that is shorter than a window, in the edges: windows begin at its first sample.
inline SourceRow row_of_windows(Edges &edges, const uint8_t *row, int row_bytes) {
    if (row_bytes >= int(sizeof(V16)))
        return {row, nullptr};
    for (int i = 0; i < row_bytes; ++i)
        edges.bytes[i] = row[i];
    return {edges.bytes, nullptr};
}
#endif

// --- lines --------------------------------------------------------------------------------------

template <int samples>
constexpr size_t bytes_of_step = columns_per_step *samples * sizeof(std::int16_t);

template <class V>
bool has_limit(V words) {
    return top_bits(equal_u16(words, repeat_u16<V>(most_of_word))) != 0;
}

// Makes parts of a line, step after step. Answers whether words are at their limit.
template <class Form, Parts parts>
[[gnu::noinline]] bool make_steps(const Line<uint8_t> &line, Plan &plan,
                                  const SourceRow &source_in_memory, size_t first, size_t end) {
    constexpr size_t bytes = bytes_of_step<Form::samples>;
    const SourceRow source = source_in_memory;
    const auto *step = plan.step<Form::samples>() + first;
    const auto *const last = step + (end - first);
    LinePlace to = LinePlace{line.words, line.excess} + first * bytes;
    auto most = zero<typename Form::Vector>();
#pragma GCC unroll 1
    for (; step < last; step += Form::steps_at_once) {
        most = max_i16(most, Form::template make_words<parts>(to, step, source));
        to = to + bytes * Form::steps_at_once;
    }
    return has_limit(most);
}

// Marks the chunks with words at their limit. Answers how many these are.
template <int samples, class V>
size_t mark_chunks(const Line<uint8_t> &line, const Plan &plan) {
    constexpr size_t bytes_of_chunk = samples_per_chunk * sizeof(std::int16_t);
    const size_t bytes = plan.steps * bytes_of_step<samples>;
    store(line.words + bytes, zero<V>()); // what the last vector reads
    size_t marked = 0;
    for (size_t chunk = 0; chunk < plan.layout.chunks; ++chunk) {
        const size_t end = std::min((chunk + 1) * bytes_of_chunk, bytes);
        V most = zero<V>();
        for (size_t at = chunk * bytes_of_chunk; at < end; at += sizeof(V))
            most = max_i16(most, load<V>(line.words + at));
        line.marks_of_chunks[chunk] = has_limit(most);
        marked += line.marks_of_chunks[chunk];
    }
    return marked;
}

template <class V>
void store_zeros(uint8_t *to, size_t bytes) {
    for (size_t at = 0; at < bytes; at += sizeof(V))
        store(to + at, zero<V>());
}

// Which parts a call makes, as an argument.
template <Parts parts>
using Making = std::integral_constant<Parts, parts>;

// make(Making<parts>(), first step, end) makes steps as make_steps does. Below a line with much
// excess it is expected, and made at once.
template <int samples, class V, class Make>
void make_line(const Line<uint8_t> &line, Plan &plan, const Make &make) {
    const bool both = plan.expects_excess;
    *line.mark = both ? make(Making<Parts::both>(), size_t(0), plan.steps)
                      : make(Making<Parts::words>(), size_t(0), plan.steps);
    plan.expects_excess =
        *line.mark && 2 * mark_chunks<samples, V>(line, plan) > plan.layout.chunks;
    if (both || !*line.mark)
        return;

    constexpr size_t steps = samples_per_chunk / (columns_per_step * samples);
    for (size_t chunk = 0; chunk < plan.layout.chunks; ++chunk) {
        const size_t first = chunk * steps, end = std::min(first + steps, plan.steps);
        if (line.marks_of_chunks[chunk])
            make(Making<Parts::excess>(), first, end);
        else
            store_zeros<V>(line.excess + first * bytes_of_step<samples>,
                           (end - first) * bytes_of_step<samples>);
    }
}

template <TapsFrom from, class V>
void make_line_of_singles(const Line<uint8_t> &line, Plan &plan, const SourceRow &source) {
    make_line<1, V>(line, plan, [&](auto making, size_t first, size_t end) {
        constexpr Parts parts = making;
        return make_steps<Singles<from, V>, parts>(line, plan, source, first, end);
    });
}

template <int samples, class V>
void make_line_of_pixels(const Line<uint8_t> &line, Plan &plan, const uint8_t *row) {
    fill_edges<samples>(plan.edges, row, plan.row_bytes);
    const SourceRow source{row, plan.edges.bytes};
    make_line<samples, V>(line, plan, [&](auto making, size_t first, size_t end) {
        constexpr Parts parts = making;
        const size_t in_row = std::clamp(plan.first_in_row, first, end);
        const size_t beyond = std::clamp(plan.end_in_row, first, end);
        using InRow = ColumnsOfPixels<samples, true, V>;
        using Anywhere = ColumnsOfPixels<samples, false, V>;
        bool limit = false;
        if (first < in_row)
            limit |= make_steps<Anywhere, parts>(line, plan, source, first, in_row);
        if (in_row < beyond)
            limit |= make_steps<InRow, parts>(line, plan, source, in_row, beyond);
        if (beyond < end)
            limit |= make_steps<Anywhere, parts>(line, plan, source, beyond, end);
        return limit;
    });
}

template <int samples, class V>
void make_line_of(const Line<uint8_t> &line, Plan &plan, const uint8_t *row) {
    if constexpr (samples > 1)
        return make_line_of_pixels<samples, V>(line, plan, row);
#ifdef __SSE4_1__
    if (plan.windows)
        return make_line_of_singles<TapsFrom::windows, V>(
            line, plan, row_of_windows(plan.edges, row, plan.row_bytes));
#else
    fill_edges<samples>(plan.edges, row, plan.row_bytes);
#endif
    make_line_of_singles<TapsFrom::fours, V>(line, plan, {row, plan.edges.bytes});
}

} // namespace
} // namespace q32::resample
