// Bicubic interpolation down: a destination row is made of four lines.
//
// Private to the file that includes it, as bicubic_plan.h.
#pragma once

#include "resample/kernels/bicubic_plan.h"

namespace q32::resample {
namespace {

constexpr int lines_down = 4;

// The lines' samples from a chunk's begin on: words or excess.
struct Chunk {
    const uint8_t *line[lines_down];
};

// The weights of a row, of lines 0 and 1 and of lines 2 and 3 as the words of double words.
template <class V>
struct RowWeights {
    V upper, lower;

    explicit RowWeights(const CubicWeights &weights)
        : upper(repeat_dword<V>(int(words_in_dword(weights[0], weights[1])))),
          lower(repeat_dword<V>(int(words_in_dword(weights[2], weights[3])))) {}
};

// Sums of the first and the second half of each lane's words.
template <class V>
struct Sums {
    V first, second;
};

template <class V>
Sums<V> sums_down(const Chunk &chunk, size_t at, const RowWeights<V> &weights) {
    const V line_0 = load<V>(chunk.line[0] + at), line_1 = load<V>(chunk.line[1] + at);
    const V line_2 = load<V>(chunk.line[2] + at), line_3 = load<V>(chunk.line[3] + at);
    return {add_dwords(sum_word_products(interleave_low_words(line_0, line_1), weights.upper),
                       sum_word_products(interleave_low_words(line_2, line_3), weights.lower)),
            add_dwords(sum_word_products(interleave_high_words(line_0, line_1), weights.upper),
                       sum_word_products(interleave_high_words(line_2, line_3), weights.lower))};
}

// --- rows ---------------------------------------------------------------------------------------

// A destination row between lines.
template <class V>
class Between {
public:
    Between(const CubicWeights &weights)
        : weights_(weights),
          unbiased_(
              repeat_dword<V>(line_bias * (weights[0] + weights[1] + weights[2] + weights[3]))) {}

    // As many bytes as V has words, as words; at counts bytes of lines.
    template <bool has_excess>
    V samples(const Chunk &words, const Chunk &excess, size_t at) const {
        Sums<V> sums = sums_down<V>(words, at, weights_);
        if constexpr (has_excess) {
            const Sums<V> more = sums_down<V>(excess, at, weights_);
            sums = {add_dwords(sums.first, more.first), add_dwords(sums.second, more.second)};
        }
        return pack_dwords(signed_dwords_down<22>(add_dwords(sums.first, unbiased_)),
                           signed_dwords_down<22>(add_dwords(sums.second, unbiased_)));
    }

private:
    const RowWeights<V> weights_;
    const V unbiased_;
};

// A destination row that lies on a line, line 1: the weights of the others are 0, and what has an
// excess is more than 255 without it.
template <class V>
struct OnLine {
    template <bool>
    V samples(const Chunk &words, const Chunk &, size_t at) const {
        return words_down<8>(load<V>(words.line[1] + at) ^ repeat_word<V>(-line_bias));
    }
};

// --- the walk -----------------------------------------------------------------------------------

template <class Row, bool has_excess, class V>
V bytes_down(const Row &row, const Chunk &words, const Chunk &excess, size_t at) {
    return packed_in_order(
        pack_words(row.template samples<has_excess>(words, excess, 2 * at),
                   row.template samples<has_excess>(words, excess, 2 * at + sizeof(V))));
}

template <class V>
void store_first(uint8_t *to, V v, size_t count) {
    uint8_t bytes[sizeof(V)];
    store(bytes, v);
    const auto copy = [&](auto piece) {
        std::memcpy(&piece, bytes, sizeof piece);
        std::memcpy(to, &piece, sizeof piece);
        std::memcpy(&piece, bytes + count - sizeof piece, sizeof piece);
        std::memcpy(to + count - sizeof piece, &piece, sizeof piece);
    };
    if (count >= 16) {
        store_16(to, load_16(bytes));
        store_16(to + count - 16, load_16(bytes + count - 16));
    } else if (count >= 8) {
        store_8(to, load_8(bytes));
        store_8(to + count - 8, load_8(bytes + count - 8));
    } else if (count >= 4) {
        copy(std::uint32_t());
    } else if (count >= 2) {
        copy(std::uint16_t());
    } else {
        *to = *bytes;
    }
}

template <class Row, bool has_excess, class V>
void chunk_down(uint8_t *to, size_t count, const Row &row, const Chunk &words,
                const Chunk &excess) {
    size_t at = 0;
    for (; at + sizeof(V) <= count; at += sizeof(V))
        store(to + at, bytes_down<Row, has_excess, V>(row, words, excess, at));
    if (at < count)
        store_first(to + at, bytes_down<Row, has_excess, V>(row, words, excess, at), count - at);
}

template <class V, class Row>
void row_down(uint8_t *destination, Plan &plan, const void *const *memory, const Row &row) {
    using ConstLine = Line<const uint8_t>;
    const auto line = [&](int i) {
        return ConstLine(plan.layout, static_cast<const uint8_t *>(memory[i]));
    };
    const ConstLine lines[lines_down] = {line(0), line(1), line(2), line(3)};

    for (size_t chunk = 0; chunk < plan.layout.chunks; ++chunk) {
        const size_t first = chunk * samples_per_chunk;
        const size_t count = std::min(plan.row_samples - first, samples_per_chunk);
        Chunk words, excess;
        bool has_excess = false;
        for (int i = 0; i < lines_down; ++i) {
            words.line[i] = lines[i].words + first * sizeof(std::int16_t);
            excess.line[i] = lines[i].excess + first * sizeof(std::int16_t);
            if (!lines[i].marks[chunk])
                excess.line[i] = plan.no_excess;
            else
                has_excess = true;
        }
        if (has_excess)
            chunk_down<Row, true, V>(destination + first, count, row, words, excess);
        else
            chunk_down<Row, false, V>(destination + first, count, row, words, excess);
    }
}

template <class V>
void down(uint8_t *destination, void *plan_memory, const void *const *lines, int row_fraction) {
    Plan &plan = *static_cast<Plan *>(plan_memory);
    const int phase = phase_of(row_fraction & 0xFF);
    if (phase == 0)
        row_down<V>(destination, plan, lines, OnLine<V>());
    else
        row_down<V>(destination, plan, lines, Between<V>(cubic_weights[phase]));
}

} // namespace
} // namespace q32::resample
