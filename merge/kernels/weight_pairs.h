// The weights of a step's samples, laid out as weighing wants them: a byte w and its complement
// 255 - w for each sample, so a word of two bytes. Pixels of three samples have each weight three
// times; it is spread here, on the way from memory.
//
// Private to the file that includes it, as arithmetic.h.
#pragma once

#include "merge/kernels/arithmetic.h"

#include <algorithm>

namespace q32::merge {
namespace {

// From both bytes w to w and its complement.
template <class V>
Pairs<V> with_complements(V low, V high) {
    const V second_byte = repeat_word<V>(0xFF00);
    return {low ^ second_byte, high ^ second_byte};
}

// The weights of sizeof(V) pixels. Vector k of their samples has the pairs of<k>().
template <class V, size_t samples>
class WeightPairs;

template <class V>
class WeightPairs<V, 1> {
public:
    explicit WeightPairs(const uint8_t *weights) : weights_(load<V>(weights)) {}

    template <size_t>
    Pairs<V> of() const {
        return interleaved(weights_, ~weights_);
    }

private:
    V weights_;
};

#ifdef __SSE4_1__

template <class V>
struct alignas(V) Indices {
    uint8_t at[sizeof(V)];
};

// Which pixel the pairs come from, counted from pixel `first` on: vector k, half 0 or 1.
template <class V>
constexpr Indices<V> spread_indices(size_t k, size_t half, size_t first) {
    Indices<V> indices{};
    for (size_t i = 0; i < sizeof(V); ++i) {
        const size_t sample = sizeof(V) * k + i / 16 * 16 + 8 * half + i % 16 / 2;
        indices.at[i] = uint8_t(sample / 3 - first);
    }
    return indices;
}

// A vector's samples belong to at most 12 pixels, so that one piece of 16 weights serves all lanes;
// the last piece is moved back so that it ends with the step.
template <class V>
class WeightPairs<V, 3> {
public:
    explicit WeightPairs(const uint8_t *weights) : weights_(weights) {}

    template <size_t k>
    Pairs<V> of() const {
        constexpr size_t first = std::min(sizeof(V) * k / 3, sizeof(V) - 16);
        static constexpr Indices<V> low = spread_indices<V>(k, 0, first),
                                    high = spread_indices<V>(k, 1, first);
        const V piece = repeat_lane<V>(rows::load_16(weights_ + first));
        return with_complements(shuffle(piece, load<V>(low.at)), shuffle(piece, load<V>(high.at)));
    }

private:
    const uint8_t *weights_;
};

#else

// Without a byte shuffle: every weight twice, then the words of eight pixels three times.
template <>
class WeightPairs<V16, 3> {
public:
    explicit WeightPairs(const uint8_t *weights) {
        const V16 loaded = load<V16>(weights);
        eight_[0] = interleave_low_bytes(loaded, loaded);
        eight_[1] = interleave_high_bytes(loaded, loaded);
    }

    template <size_t k>
    Pairs<V16> of() const {
        return with_complements(third<2 * k % 3>(eight_[2 * k / 3]),
                                third<(2 * k + 1) % 3>(eight_[(2 * k + 1) / 3]));
    }

private:
    template <size_t part>
    static V16 third(V16 eight) {
        if constexpr (part == 0) // 0001 1122
            return spread<_MM_SHUFFLE(1, 0, 0, 0), _MM_SHUFFLE(2, 2, 1, 1)>(
                _mm_unpacklo_epi64(eight, eight));
        else if constexpr (part == 1) // 2333 4445
            return spread<_MM_SHUFFLE(3, 3, 3, 2), _MM_SHUFFLE(1, 0, 0, 0)>(eight);
        else // 5566 6777
            return spread<_MM_SHUFFLE(2, 2, 1, 1), _MM_SHUFFLE(3, 3, 3, 2)>(
                _mm_unpackhi_epi64(eight, eight));
    }

    template <int low, int high>
    static V16 spread(V16 v) {
        return _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, low), high);
    }

    V16 eight_[2];
};

#endif

#ifdef __AVX512VBMI__

// One permutation reaches all 64 weights.
template <>
class WeightPairs<V64, 3> {
public:
    explicit WeightPairs(const uint8_t *weights) : weights_(load<V64>(weights)) {}

    template <size_t k>
    Pairs<V64> of() const {
        static constexpr Indices<V64> low = spread_indices<V64>(k, 0, 0),
                                      high = spread_indices<V64>(k, 1, 0);
        return with_complements(_mm512_permutexvar_epi8(load<V64>(low.at), weights_),
                                _mm512_permutexvar_epi8(load<V64>(high.at), weights_));
    }

private:
    V64 weights_;
};

#endif

} // namespace
} // namespace q32::merge
