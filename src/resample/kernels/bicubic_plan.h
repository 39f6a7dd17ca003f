// The plan of the wide bicubic forms: where the taps of each destination column lie in a source row
// and what they weigh, in steps of eight columns; and how a line is laid out.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/cubic_weights.h"
#include "resample/kernels/method_forms.h"
#include "simd/operations.h"

#include <algorithm>
#include <new>
#include <type_traits>

namespace q32::resample {
namespace {

constexpr int columns_per_step = 8;

// Of 4, 12 and 32 steps of pixels of 3, 1 and 4 samples come whole chunks.
constexpr size_t samples_per_chunk = 96;

// Weights of the taps at -1 and 1, and at 0 and 2, as the words of double words: the order in which
// the even and the odd bytes of four taps lie.
struct WeightPairs {
    std::uint32_t even, odd;
};

constexpr std::uint32_t words_in_dword(int low, int high) {
    return std::uint32_t(std::uint16_t(low)) | std::uint32_t(std::uint16_t(high)) << 16;
}

constexpr auto weight_pairs = [] {
    std::array<WeightPairs, cubic_phases> pairs{};
    for (int phase = 0; phase < cubic_phases; ++phase) {
        const CubicWeights &weights = cubic_weights[phase];
        pairs[phase] = {words_in_dword(weights[0], weights[2]),
                        words_in_dword(weights[1], weights[3])};
    }
    return pairs;
}();

// --- lines --------------------------------------------------------------------------------------

// Sums across, a 64th of them, are at most 73408: more than 16 bits. A line has them less 32768 as
// signed words, and what does not fit as the excess, in words of their own. A line with any excess
// is marked, and so are its chunks with any; another line has neither excess nor marks of chunks.
constexpr int line_bias = 32768, most_of_word = 32767;

struct LineLayout {
    size_t chunks;
    size_t words; // of samples, and as many of excess

    LineLayout(size_t columns, int samples)
        : chunks((columns * size_t(samples) + samples_per_chunk - 1) / samples_per_chunk),
          words(chunks * samples_per_chunk + words_beyond) {}

    size_t bytes() const { return 2 * words * sizeof(std::int16_t) + 1 + chunks; }

private:
    // The last store of a step goes beyond it.
    static constexpr size_t words_beyond = work_alignment / sizeof(std::int16_t);
};

// A line in memory; const Byte reads it.
template <class Byte>
struct Line {
    Byte *words;
    Byte *excess;
    Byte *mark;
    Byte *marks_of_chunks; // a byte for each

    Line(const LineLayout &layout, Byte *memory)
        : words(memory), excess(words + layout.words * sizeof(std::int16_t)),
          mark(excess + layout.words * sizeof(std::int16_t)), marks_of_chunks(mark + 1) {}

    bool is_marked(size_t chunk) const { return *mark != 0 && marks_of_chunks[chunk] != 0; }
};

// --- plans --------------------------------------------------------------------------------------

// Eight columns. An offset is that of the first tap, or of four columns' window, in bytes from the
// begin of the source row; the complement of one is from the begin of the edges.
struct Step {
    std::int32_t offset[columns_per_step];
    std::uint32_t even[columns_per_step], odd[columns_per_step];
};

// With the bytes of windows that are the columns' taps.
struct SingleStep : Step {
    uint8_t taps[4 * columns_per_step];
};

// What taps read at the ends of a row: its first and its last bytes, the edge pixels repeated. A
// row of less than a vector is there as a whole, before row_end. Bytes around are read, not used.
struct Edges {
    static constexpr int row_end = 64;
    uint8_t bytes[128];
};

struct alignas(work_alignment) Plan {
    const int samples; // of a pixel
    const int row_bytes;
    const size_t row_samples;
    const size_t steps; // single samples are taken in pairs of steps
    const LineLayout layout;
    bool windows = false; // single samples: four columns have one of sizeof(V16) bytes
    size_t first_in_row = 0, end_in_row = 0; // of pixels: steps that need no edges
    bool expects_excess = false;             // so had the line before
    Edges edges{};
    uint8_t no_excess[samples_per_chunk * sizeof(std::int16_t)]{};

    Plan(size_t columns, Span source, int pixel_samples)
        : samples(pixel_samples), row_bytes(source.count * samples),
          row_samples(columns * size_t(samples)), steps(steps_of(columns, samples)),
          layout(columns, samples) {}

    static size_t bytes(size_t columns, int samples) {
        return sizeof(Plan) +
               steps_of(columns, samples) * (samples == 1 ? sizeof(SingleStep) : sizeof(Step));
    }

    static size_t steps_of(size_t columns, int samples) {
        const size_t at_once = samples == 1 ? 2 * columns_per_step : columns_per_step;
        return (columns + at_once - 1) / at_once * at_once / columns_per_step;
    }

    template <int pixel_samples>
    auto *step() {
        using StepOf = std::conditional_t<pixel_samples == 1, SingleStep, Step>;
        return reinterpret_cast<StepOf *>(this + 1);
    }
};

// --- making one ---------------------------------------------------------------------------------

// Where taps begin that are read one column at a time: directly where `bytes` from there on lie in
// the row, in the edges otherwise.
template <int samples>
std::int32_t offset_of_taps(int pixel, int row_bytes) {
    constexpr int bytes = samples == 1 ? 4 : int(sizeof(V16));
    const int offset = (pixel - 1) * samples;
    if (offset >= 0 && offset + bytes <= row_bytes)
        return offset;
    if (pixel == 0 && row_bytes >= int(sizeof(V16)))
        return ~0;
    return ~(Edges::row_end + offset - row_bytes);
}

// Calls place(step, source pixels of its columns) for each step. Beyond the last column that one is
// repeated.
template <int samples, class Place>
void plan_steps(Plan &plan, const Positions &columns, Span source, const Place &place) {
    auto *step = plan.step<samples>();
    for (size_t s = 0; s < plan.steps; ++s) {
        int pixel[columns_per_step];
        for (size_t k = 0; k < columns_per_step; ++k) {
            const size_t x = std::min(s * columns_per_step + k, columns.count - 1);
            const WeightPairs &weights = weight_pairs[phase_of(columns.fraction[x] & 0xFF)];
            step[s].even[k] = weights.even;
            step[s].odd[k] = weights.odd;
            pixel[k] = source.distance(columns.index[x]);
        }
        place(step[s], pixel);
    }
}

// Taps that are read one column at a time.
template <int samples>
void place_columns(Plan &plan, const Positions &columns, Span source) {
    plan_steps<samples>(plan, columns, source, [&](Step &step, const int *pixel) {
        for (int k = 0; k < columns_per_step; ++k)
            step.offset[k] = offset_of_taps<samples>(pixel[k], plan.row_bytes);
    });
}

inline bool needs_edges(const Step &step) {
    std::int32_t any = 0;
    for (const std::int32_t offset : step.offset)
        any |= offset;
    return any < 0;
}

template <int samples>
void find_steps_in_row(Plan &plan) {
    const Step *step = plan.step<samples>();
    size_t at = 0;
    while (at < plan.steps && needs_edges(step[at]))
        ++at;
    plan.first_in_row = at;
    while (at < plan.steps && !needs_edges(step[at]))
        ++at;
    plan.end_in_row = at;
}

#ifdef __SSE4_1__

// Single samples: the taps of four columns come out of one vector by a shuffle, which repeats the
// edge pixels too. It is loaded from one place where all taps lie together, else from four.

struct Window {
    int first, last; // pixels

    Window(const int *pixel, int row_bytes) {
        const int low = std::min(std::min(pixel[0], pixel[1]), std::min(pixel[2], pixel[3]));
        const int high = std::max(std::max(pixel[0], pixel[1]), std::max(pixel[2], pixel[3]));
        first = std::clamp(low - 1, 0, std::max(row_bytes, int(sizeof(V16))) - int(sizeof(V16)));
        last = std::min(high + 2, row_bytes - 1);
    }
    bool fits() const { return last - first < int(sizeof(V16)); }
};

// first[k] of the vector is where the taps of column k would begin; `last` of bytes is usable.
inline V16 tap_masks(V16 first, V16 last) {
    const V16 repeat = _mm_setr_epi8(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12);
    const V16 taps = _mm_setr_epi8(0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3);
    const V16 bytes = add_u8(shuffle_u8(first, repeat), taps);
    return _mm_max_epi8(_mm_min_epi8(bytes, last), zero<V16>());
}

inline V16 pixels_before(const int *pixel) {
    return subtract_u32(load_16(pixel), repeat_u32<V16>(1));
}

// Answers whether all fits into windows.
inline bool place_windows(const Plan &plan, const int *pixel, SingleStep &step) {
    bool fits = true;
    for (int k = 0; k < columns_per_step; k += 4) {
        const Window window(pixel + k, plan.row_bytes);
        fits &= window.fits();
        step.offset[k] = window.first;
        const V16 first = subtract_u32(pixels_before(pixel + k), repeat_u32<V16>(window.first));
        store_16(step.taps + 4 * k, tap_masks(first, repeat_u8<V16>(window.last - window.first)));
    }
    return fits;
}

inline void place_in_fours(const Plan &plan, const int *pixel, SingleStep &step) {
    int first[columns_per_step];
    for (int k = 0; k < columns_per_step; ++k) {
        step.offset[k] = std::clamp(pixel[k] - 1, 0, plan.row_bytes - 4);
        first[k] = pixel[k] - 1 - step.offset[k];
    }
    const V16 begins = _mm_setr_epi8(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12);
    for (int k = 0; k < columns_per_step; k += 4)
        store_16(step.taps + 4 * k,
                 add_u8(begins, tap_masks(load_16(first + k), repeat_u8<V16>(3))));
}

inline void place_singles(Plan &plan, const Positions &columns, Span source) {
    plan.windows = true;
    plan_steps<1>(plan, columns, source, [&](SingleStep &step, const int *pixel) {
        plan.windows &= place_windows(plan, pixel, step);
    });
    if (!plan.windows)
        plan_steps<1>(plan, columns, source, [&](SingleStep &step, const int *pixel) {
            place_in_fours(plan, pixel, step);
        });
}

#else

inline void place_singles(Plan &plan, const Positions &columns, Span source) {
    place_columns<1>(plan, columns, source);
}

#endif

template <int samples>
void plan_columns(Plan &plan, const Positions &columns, Span source) {
    if constexpr (samples == 1) {
        place_singles(plan, columns, source);
    } else {
        place_columns<samples>(plan, columns, source);
        find_steps_in_row<samples>(plan);
    }
}

} // namespace
} // namespace q32::resample
