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
    return {bytes & repeat_word<V>(0xFF), words_down<8>(bytes)};
}

// From four pixels in a row in each lane: the taps of each sample, and of a fourth one.
template <int samples, class V>
Taps<V> taps_of_pixels(V pixels) {
#ifdef __SSE4_1__
    constexpr int s = samples;
    const V16 order = s == 3 ? _mm_setr_epi8(0, 3, 6, 9, 1, 4, 7, 10, 2, 5, 8, 11, -1, -1, -1, -1)
                             : _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return taps_of_bytes(shuffle(pixels, repeat_lane<V>(order)));
#else
    const V zero = repeat_byte<V>(0);
    const V even = _mm_unpacklo_epi8(pixels, _mm_srli_si128(pixels, 2 * samples));
    const V odd =
        _mm_unpacklo_epi8(_mm_srli_si128(pixels, samples), _mm_srli_si128(pixels, 3 * samples));
    return {_mm_unpacklo_epi8(even, zero), _mm_unpacklo_epi8(odd, zero)};
#endif
}

// Rounded, a 64th of them, less the bias.
template <class V>
V sums_of(Taps<V> taps, V even_weights, V odd_weights) {
    const V sums = add_dwords(sum_word_products(taps.even, even_weights),
                              sum_word_products(taps.odd, odd_weights));
    return signed_dwords_down<6>(add_dwords(sums, repeat_dword<V>(32 - (line_bias << 6))));
}

enum class Part { words, excess };

// What a line keeps of sums: negative ones, dropped, are its lowest word.
template <Part part, class V>
V line_words(V a, V b) {
    if constexpr (part == Part::words)
        return pack_dwords(a, b);
    const V limit = repeat_dword<V>(most_of_word);
    return max_words(pack_dwords(subtract_dwords(a, limit), subtract_dwords(b, limit)),
                     repeat_byte<V>(0));
}

// --- pixels of three and four samples -----------------------------------------------------------

template <class V>
V load_step(const std::uint32_t *weights) {
    return load<V>(reinterpret_cast<const uint8_t *>(weights));
}

// The taps of column k, and in another lane of column k + 4.
template <class V>
V load_columns(const SourceRow &source, const std::int32_t *offset, int k) {
    const V16 first = load_16(source.at(offset[k]));
    if constexpr (lanes_of<V> == 1) {
        return first;
#ifdef __AVX2__
    } else {
        const V16 second = load_16(source.at(offset[k + 4]));
        return _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
#endif
    }
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
        store_8(at + 6, _mm_unpackhi_epi64(first, first));
        store_8(at + 12, second);
        store_8(at + 18, _mm_unpackhi_epi64(second, second));
#endif
    }
}

template <int samples, class V>
V closed_up(V words) {
#ifdef __SSE4_1__
    if constexpr (samples == 3)
        return shuffle(words, repeat_lane<V>(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13,
                                                           -1, -1, -1, -1)));
#endif
    return words;
}

template <int pixel_samples, class V>
struct Pixels {
    static constexpr int samples = pixel_samples;
    static constexpr std::size_t steps_at_once = 1;

    template <Part part>
    static V step(uint8_t *words, Plan &plan, const SourceRow &source, std::size_t at) {
        const Step &step = plan.step()[at];
        V most = four_columns<part>(words, source, step, 0);
        if constexpr (lanes_of<V> == 1)
            most = max_words(most, four_columns<part>(words + 4 * samples * 2, source, step, 4));
        return most;
    }

private:
    template <Part part>
    static V four_columns(uint8_t *words, const SourceRow &source, const Step &step, int k) {
        const V even = load_step<V>(step.even + k), odd = load_step<V>(step.odd + k);
        const auto sums = [&]<int i> {
            const V pixels = load_columns<V>(source, step.offset, k + i);
            return sums_of(taps_of_pixels<samples>(pixels), repeat_in_lane<i>(even),
                           repeat_in_lane<i>(odd));
        };
        const V first =
            line_words<part>(sums.template operator()<0>(), sums.template operator()<1>());
        const V second =
            line_words<part>(sums.template operator()<2>(), sums.template operator()<3>());
        const V a = closed_up<samples>(first), b = closed_up<samples>(second);
        store_columns<samples>(words, lane_0(a), lane_0(b));
#ifdef __AVX2__
        if constexpr (lanes_of<V> == 2)
            store_columns<samples>(words + 4 * samples * 2, lane_1(a), lane_1(b));
#endif
        return max_words(first, second);
    }
};

// --- single samples -----------------------------------------------------------------------------

inline std::uint32_t load_4(const uint8_t *at) {
    std::uint32_t bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

enum class TapsFrom { windows, fours };

template <TapsFrom from, class V>
struct Singles {
    static constexpr int samples = 1;
    static constexpr std::size_t steps_at_once = lanes_of<V>;

    template <Part part>
    static V step(uint8_t *words, Plan &plan, const SourceRow &source, std::size_t at) {
        constexpr int columns = 4 * lanes_of<V>;
        const V first = sums(plan, source, at, 0);
        const V second =
            sums(plan, source, at + columns / columns_per_step, columns % columns_per_step);
        const V both = line_words<part>(first, second);
        store(words, packed_in_order(both));
        return both;
    }

private:
    // From column k of a step on.
    static V sums(Plan &plan, const SourceRow &source, std::size_t at, int k) {
        const Step &step = plan.step()[at];
        V bytes = load_taps(source, step.offset + k);
#ifdef __SSE4_1__
        bytes = shuffle(bytes, load<V>(plan.masks()[at].bytes + 4 * k));
#endif
        return sums_of(taps_of_bytes(bytes), load_step<V>(step.even + k),
                       load_step<V>(step.odd + k));
    }

    static V load_taps(const SourceRow &source, const std::int32_t *offset) {
        if constexpr (lanes_of<V> == 1) {
            return load_lane(source, offset);
#ifdef __AVX2__
        } else {
            return _mm256_inserti128_si256(_mm256_castsi128_si256(load_lane(source, offset)),
                                           load_lane(source, offset + 4), 1);
#endif
        }
    }

    static V16 load_lane(const SourceRow &source, const std::int32_t *offset) {
        if constexpr (from == TapsFrom::windows)
            return load_16(source.row + offset[0]);
#ifdef __SSE4_1__
        return _mm_setr_epi32(
            int(load_4(source.row + offset[0])), int(load_4(source.row + offset[1])),
            int(load_4(source.row + offset[2])), int(load_4(source.row + offset[3])));
#else
        return _mm_setr_epi32(int(load_4(source.at(offset[0]))), int(load_4(source.at(offset[1]))),
                              int(load_4(source.at(offset[2]))), int(load_4(source.at(offset[3]))));
#endif
    }
};

// --- lines --------------------------------------------------------------------------------------

template <class Form, Part part>
auto make_chunk(uint8_t *words, Plan &plan, const SourceRow &source, std::size_t step,
                std::size_t end) {
    constexpr std::size_t bytes =
        Form::steps_at_once * columns_per_step * Form::samples * sizeof(std::int16_t);
    auto most = Form::template step<part>(words, plan, source, step);
    while ((step += Form::steps_at_once) < end) {
        words += bytes;
        most = max_words(most, Form::template step<part>(words, plan, source, step));
    }
    return most;
}

template <class Form>
void make_line(Line<uint8_t> line, Plan &plan, const SourceRow &source) {
    constexpr std::size_t steps = samples_per_chunk / (columns_per_step * Form::samples);
    std::size_t chunk = 0;
    for (std::size_t step = 0; step < plan.steps; step += steps, ++chunk) {
        const std::size_t end = std::min(step + steps, plan.steps);
        const std::size_t at = chunk * samples_per_chunk * sizeof(std::int16_t);
        const auto most = make_chunk<Form, Part::words>(line.words + at, plan, source, step, end);
        const bool excess = top_bits(equal_words(most, repeat_word<decltype(+most)>(most_of_word)));
        line.marks[chunk] = excess;
        if (excess)
            make_chunk<Form, Part::excess>(line.excess + at, plan, source, step, end);
    }
}

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

template <class V>
void across(void *memory, void *plan_memory, const uint8_t *row) {
    Plan &plan = *static_cast<Plan *>(plan_memory);
    const Line<uint8_t> line(plan.layout, static_cast<uint8_t *>(memory));
    const SourceRow source{row, plan.edges.bytes};
    switch (plan.samples) {
    case 1:
#ifdef __SSE4_1__
        if (plan.windows)
            return make_line<Singles<TapsFrom::windows, V>>(
                line, plan, row_of_windows(plan.edges, row, plan.row_bytes));
#else
        fill_edges<1>(plan.edges, row, plan.row_bytes);
#endif
        return make_line<Singles<TapsFrom::fours, V>>(line, plan, source);
    case 3:
        fill_edges<3>(plan.edges, row, plan.row_bytes);
        return make_line<Pixels<3, V>>(line, plan, source);
    default:
        fill_edges<4>(plan.edges, row, plan.row_bytes);
        return make_line<Pixels<4, V>>(line, plan, source);
    }
}

} // namespace
} // namespace q32::resample
