// The weights of a step's samples, laid out as weighing wants them: a byte w and its complement
// 255 - w for each sample, so a word of two bytes. Pixels of three samples have each weight three
// times; weights are spread here, on the way from memory.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/word_constants.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

namespace q32::merge {
namespace {

// From both bytes w to w and its complement.
template <class V>
Pairs<V> with_complements(V low, V high) {
    const V second_byte = repeat_u16<V>(0xFF00);
    return {low ^ second_byte, high ^ second_byte};
}

// --- spread inside lanes ------------------------------------------------------------------------

// Whether each lane has sixteen pixels of its own. Permutations of 64 bytes reach them all, and
// leave them in the order of memory.
template <class V>
inline constexpr bool lanes_have_own_pixels = sizeof(V) < 64;

// Each of four, three times: in three parts of four.
constexpr int thirds[] = {_MM_SHUFFLE(1, 0, 0, 0), _MM_SHUFFLE(2, 2, 1, 1),
                          _MM_SHUFFLE(3, 3, 3, 2)};

#ifdef __SSE4_1__

// Which pixel the pairs of vector k come from, counted from pixel `first` on; half 0 or 1.
template <size_t size>
constexpr ByteTable<size> pair_indices(size_t k, size_t half, size_t first) {
    return bytes_by<size>([=](size_t i) {
        const size_t sample = size * k + i / 16 * 16 + 8 * half + i % 16 / 2;
        return sample / 3 - first;
    });
}

// The pairs of vector k of three, out of the weights of as many pixels as it has bytes.
template <size_t k, class V>
Pairs<V> spread(V weights) {
    static constexpr auto low = pair_indices<reach<V>>(k, 0, 0),
                          high = pair_indices<reach<V>>(k, 1, 0);
    return with_complements(permute_u8(weights, as_vector<V>(low)),
                            permute_u8(weights, as_vector<V>(high)));
}

// The same as plain bytes.
template <size_t k, class V>
V spread_bytes(V bytes) {
    constexpr size_t first = reach<V> * k;
    static constexpr auto indices = bytes_by<reach<V>>([](size_t i) { return (first + i) / 3; });
    return permute_u8(bytes, as_vector<V>(indices));
}

#else

// 0001 1122, 2333 4445 and 5566 6777 of eight words.
template <size_t part>
V16 spread_third(V16 eight) {
    constexpr int low = thirds[2 * part % 3], high = thirds[(2 * part + 1) % 3];
    const V16 halves = part == 0   ? interleave_low_u64(eight, eight)
                       : part == 1 ? eight
                                   : interleave_high_u64(eight, eight);
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(halves, low), high);
}

// Without a byte shuffle: every weight twice, then the words of eight pixels three times.
template <size_t k>
Pairs<V16> spread(V16 weights) {
    const Pairs<V16> twice = pairs_u8(weights, weights);
    return with_complements(spread_third<2 * k % 3>(k == 2 ? twice.high : twice.low),
                            spread_third<(2 * k + 1) % 3>(k == 0 ? twice.low : twice.high));
}

template <size_t k>
V16 spread_bytes(V16 bytes) {
    const Pairs<V16> pairs = spread<k>(~bytes);
    return pack_i16_to_u8_in_lanes(shift_right_u16<8>(pairs.low), shift_right_u16<8>(pairs.high));
}

#endif

// The same for pixels of one sample or three.
template <size_t samples, size_t k, class V>
Pairs<V> spread_pairs(V weights) {
    if constexpr (samples == 1)
        return pairs_u8(weights, inverted(weights));
    else
        return spread<k>(weights);
}

template <size_t samples, size_t k, class V>
V spread_bytes(V bytes) {
    if constexpr (samples == 1)
        return bytes;
    else
        return spread_bytes<k>(bytes);
}

// --- the weights of a step ----------------------------------------------------------------------

// The weights of sizeof(V) pixels. Vector k of their samples has the pairs of<k>().
template <class V, size_t samples>
class WeightPairs;

template <class V>
class WeightPairs<V, 1> {
public:
    explicit WeightPairs(const uint8_t *weights) : weights_(load<V>(weights)) {}

    template <size_t>
    Pairs<V> of() const {
        return pairs_u8(weights_, inverted(weights_));
    }

private:
    V weights_;
};

template <>
class WeightPairs<V16, 3> {
public:
    explicit WeightPairs(const uint8_t *weights) : weights_(load<V16>(weights)) {}

    template <size_t k>
    Pairs<V16> of() const {
        return spread<k>(weights_);
    }

private:
    V16 weights_;
};

#ifdef __AVX2__

// A vector's samples belong to at most 12 pixels, so that one piece of 16 weights serves both
// lanes; the last piece is moved back so that it ends with the step.
template <>
class WeightPairs<V32, 3> {
public:
    explicit WeightPairs(const uint8_t *weights) : weights_(weights) {}

    template <size_t k>
    Pairs<V32> of() const {
        constexpr size_t first = k == 2 ? 16 : 32 * k / 3;
        static constexpr auto low = pair_indices<32>(k, 0, first),
                              high = pair_indices<32>(k, 1, first);
        const V32 piece = repeat_lane<V32>(load_16(weights_ + first));
        return with_complements(shuffle_u8(piece, as_vector<V32>(low)),
                                shuffle_u8(piece, as_vector<V32>(high)));
    }

private:
    const uint8_t *weights_;
};

#endif

#ifdef __AVX512VBMI__

// A vector's samples belong to at most 22 pixels. A piece of 32 weights and their complements fill
// a vector, out of which one permutation takes the pairs.
template <>
class WeightPairs<V64, 3> {
public:
    explicit WeightPairs(const uint8_t *weights) : weights_(weights) {}

    template <size_t k>
    Pairs<V64> of() const {
        constexpr size_t first = k == 2 ? 32 : 64 * k / 3;
        static constexpr auto low = indices(k, 0, first), high = indices(k, 1, first);
        static constexpr auto second_half = bytes_by<64>([](int i) { return i < 32 ? 0 : 0xFF; });
        const V64 piece = _mm512_broadcast_i64x4(load<V32>(weights_ + first));
        const V64 complemented = piece ^ as_vector<V64>(second_half);
        return {permute_u8(complemented, as_vector<V64>(low)),
                permute_u8(complemented, as_vector<V64>(high))};
    }

private:
    static constexpr ByteTable<64> indices(size_t k, size_t half, size_t first) {
        ByteTable<64> pairs = pair_indices<64>(k, half, first);
        for (size_t i = 1; i < 64; i += 2)
            pairs.at[i] = uint8_t(pairs.at[i] + 32);
        return pairs;
    }

    const uint8_t *weights_;
};

#endif

} // namespace
} // namespace q32::merge
