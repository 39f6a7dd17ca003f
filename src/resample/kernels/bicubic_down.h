// Bicubic interpolation down: a destination row is made of four lines.
//
// Private to the file that includes it, as bicubic_plan.h.
#pragma once

#include "resample/kernels/bicubic_plan.h"
#include "resample/kernels/store_first.h"

namespace q32::resample {
namespace {

constexpr int lines_down = 4;

// The lines' samples from one of them on: words or excess.
struct LineParts {
    const uint8_t *part[lines_down];
};

// Sums of the low and the high half of each lane's words.
template <class V>
Pairs<V> products(V line_a, V line_b, V weights) {
    return {sum_products_i16(interleave_low_u16(line_a, line_b), weights),
            sum_products_i16(interleave_high_u16(line_a, line_b), weights)};
}

template <class V>
Pairs<V> added(Pairs<V> a, Pairs<V> b) {
    return {add_u32(a.low, b.low), add_u32(a.high, b.high)};
}

// --- rows ---------------------------------------------------------------------------------------

// A destination row between lines.
template <class V>
class Between {
public:
    explicit Between(const CubicWeights &weights)
        : upper_(repeat_u32<V>(int(words_in_dword(weights[0], weights[1])))),
          lower_(repeat_u32<V>(int(words_in_dword(weights[2], weights[3])))),
          unbiased_(
              repeat_u32<V>(line_bias * (weights[0] + weights[1] + weights[2] + weights[3]))) {}

    // As many samples as V has words, at so many bytes of the lines.
    V samples(const LineParts &words, size_t at) const { return samples_of(sums(words, at)); }
    V samples(const LineParts &words, const LineParts &excess, size_t at) const {
        return samples_of(added(sums(words, at), sums(excess, at)));
    }

private:
    Pairs<V> sums(const LineParts &lines, size_t at) const {
        const auto load_line = [&](int i) { return load<V>(lines.part[i] + at); };
        return added(products(load_line(0), load_line(1), upper_),
                     products(load_line(2), load_line(3), lower_));
    }
    V samples_of(Pairs<V> sums) const {
        return pack_i32_to_i16_in_lanes(shift_right_i32<22>(add_u32(sums.low, unbiased_)),
                                        shift_right_i32<22>(add_u32(sums.high, unbiased_)));
    }

    const V upper_, lower_, unbiased_;
};

// A destination row that lies on a line, line 1: the others weigh nothing, and what has an excess
// is the highest sample without it.
template <class V>
struct OnLine {
    explicit OnLine(const CubicWeights &) {}

    V samples(const LineParts &words, size_t at) const {
        return shift_right_u16<8>(load<V>(words.part[1] + at) ^ repeat_u16<V>(-line_bias));
    }
};

// --- the walk -----------------------------------------------------------------------------------

// Makes a run of samples; lines are words, or words and excess.
template <class V, class Row, class... Lines>
[[gnu::noinline]] void make_run(uint8_t *to, size_t count, const CubicWeights &weights,
                                const Lines &...lines_in_memory) {
    const Row row(weights);
    size_t at = 0;
    const auto next_bytes = [&](const Lines &...lines) {
        const V first = row.samples(lines..., 2 * at);
        return pack_i16_to_u8_in_order(first, row.samples(lines..., 2 * at + sizeof(V)));
    };
    const auto make = [&](const Lines... lines) {
#pragma GCC unroll 1
        for (; at + sizeof(V) <= count; at += sizeof(V))
            store(to + at, next_bytes(lines...));
        if (at < count)
            store_first(to + at, next_bytes(lines...), count - at);
    };
    make(lines_in_memory...);
}

using LineToRead = Line<const uint8_t>;

inline LineParts words_of(const LineToRead *lines, size_t at) {
    return {{lines[0].words + at, lines[1].words + at, lines[2].words + at, lines[3].words + at}};
}

// Chunks in a row with or without excess are taken together; with excess in some lines only, where
// zeros stand for that of the others, one after another.
template <class V>
void down_by_chunks(uint8_t *destination, const Plan &plan, const LineToRead *lines,
                    const CubicWeights &weights) {
    const auto is_marked = [&](size_t chunk) {
        return lines[0].is_marked(chunk) || lines[1].is_marked(chunk) ||
               lines[2].is_marked(chunk) || lines[3].is_marked(chunk);
    };
    const bool all_marked = *lines[0].mark & *lines[1].mark & *lines[2].mark & *lines[3].mark;
    for (size_t chunk = 0; chunk < plan.layout.chunks;) {
        const size_t first = chunk * samples_per_chunk, at = first * sizeof(std::int16_t);
        const bool marked = is_marked(chunk++);
        while ((!marked || all_marked) && chunk < plan.layout.chunks && is_marked(chunk) == marked)
            ++chunk;
        const size_t count = std::min(chunk * samples_per_chunk, plan.row_samples) - first;

        LineParts excess;
        for (int i = 0; i < lines_down; ++i)
            excess.part[i] = *lines[i].mark ? lines[i].excess + at : plan.no_excess;
        if (marked)
            make_run<V, Between<V>>(destination + first, count, weights, words_of(lines, at),
                                    excess);
        else
            make_run<V, Between<V>>(destination + first, count, weights, words_of(lines, at));
    }
}

template <class V>
void make_row(uint8_t *destination, const Plan &plan, const void *const *memory, int row_fraction) {
    const auto line = [&](int i) {
        return LineToRead(plan.layout, static_cast<const uint8_t *>(memory[i]));
    };
    const LineToRead lines[lines_down] = {line(0), line(1), line(2), line(3)};

    const int phase = phase_of(row_fraction & 0xFF);
    const CubicWeights &weights = cubic_weights[phase];
    if (phase == 0)
        make_run<V, OnLine<V>>(destination, plan.row_samples, weights, words_of(lines, 0));
    else if (*lines[0].mark | *lines[1].mark | *lines[2].mark | *lines[3].mark)
        down_by_chunks<V>(destination, plan, lines, weights);
    else
        make_run<V, Between<V>>(destination, plan.row_samples, weights, words_of(lines, 0));
}

} // namespace
} // namespace q32::resample
