// Premultiplied samples made straight again: s x 255 / m for vectors, exactly, with one division
// for each pixel. Pixels of three samples lie in lanes of their own: a lane has the 48 bytes of
// sixteen pixels, in three vectors, so that no byte crosses from lane to lane.
//
// Private to the file that includes it, as arithmetic.h.
#pragma once

#include "merge/kernels/weight_pairs.h"

namespace q32::merge {
namespace {

// --- double words and floats --------------------------------------------------------------------

using F16 = __m128;

inline V16 low_words(V16 words) {
    return _mm_unpacklo_epi16(words, _mm_setzero_si128());
}
inline V16 high_words(V16 words) {
    return _mm_unpackhi_epi16(words, _mm_setzero_si128());
}
// Double words to signed words: what lies beyond their limits becomes the limit.
inline V16 words_of(V16 a, V16 b) {
    return _mm_packs_epi32(a, b);
}
inline F16 quotients(float dividend, V16 dwords) {
    return _mm_div_ps(_mm_set1_ps(dividend), _mm_cvtepi32_ps(dwords));
}
inline V16 truncated_products(V16 dwords, F16 factors) {
    return _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(dwords), factors));
}
template <int order>
F16 reordered(F16 floats) {
    return _mm_shuffle_ps(floats, floats, order);
}
inline V16 where_set(V16 bytes, V16 v) {
    return _mm_andnot_si128(_mm_cmpeq_epi8(bytes, _mm_setzero_si128()), v);
}

#ifdef __AVX2__

using F32 = __m256;

inline V32 low_words(V32 words) {
    return _mm256_unpacklo_epi16(words, _mm256_setzero_si256());
}
inline V32 high_words(V32 words) {
    return _mm256_unpackhi_epi16(words, _mm256_setzero_si256());
}
inline V32 words_of(V32 a, V32 b) {
    return _mm256_packs_epi32(a, b);
}
inline F32 quotients(float dividend, V32 dwords) {
    return _mm256_div_ps(_mm256_set1_ps(dividend), _mm256_cvtepi32_ps(dwords));
}
inline V32 truncated_products(V32 dwords, F32 factors) {
    return _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(dwords), factors));
}
template <int order>
F32 reordered(F32 floats) {
    return _mm256_permute_ps(floats, order);
}
inline V32 where_set(V32 bytes, V32 v) {
    return _mm256_andnot_si256(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256()), v);
}

#endif

// --- a vector -----------------------------------------------------------------------------------

template <class V>
struct DoubleWords {
    V part[4]; // of each lane bytes 0 to 3, 4 to 7, 8 to 11 and 12 to 15
};

template <class V>
DoubleWords<V> widened(V bytes) {
    const Pairs<V> words = interleaved(bytes, zero<V>());
    return {low_words(words.low), high_words(words.low), low_words(words.high),
            high_words(words.high)};
}

// What the samples of sizeof(V) pixels are multiplied with: 255 / m and a 2^-18th of it more. That
// is more than the errors of three roundings, and too little to take s x 255 / m to the next whole
// number, which is at least 1 / m away. Mask 0 counts as 1.
template <class V>
class Straightening {
public:
    explicit Straightening(V mask) {
        const DoubleWords<V> divisors = widened(max_bytes(mask, repeat_byte<V>(1)));
        for (size_t i = 0; i < 4; ++i)
            factors_[i] = quotients(255 + 255 / 262144.0f, divisors.part[i]);
    }

    // Vector k of the pixels' samples.
    template <size_t samples, size_t k>
    V straight(V premultiplied) const {
        const DoubleWords<V> s = widened(premultiplied);
        return pack_words(
            words_of(product<samples, 4 * k>(s.part[0]), product<samples, 4 * k + 1>(s.part[1])),
            words_of(product<samples, 4 * k + 2>(s.part[2]),
                     product<samples, 4 * k + 3>(s.part[3])));
    }

private:
    // Quarter i of the pixels' vectors.
    template <size_t samples, size_t i>
    V product(V dwords) const {
        if constexpr (samples == 1)
            return truncated_products(dwords, factors_[i]);
        else
            return truncated_products(dwords, reordered<thirds[i % 3]>(factors_[i / 3]));
    }

    decltype(quotients(1, V())) factors_[4];
};

} // namespace
} // namespace q32::merge
