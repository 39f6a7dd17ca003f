// Arithmetic of the colour kernels beside that of all merge kernels: bytes and words that are
// compared and chosen between, double words, quotients. Under one set of names for 16, 32 and 64
// bytes.
//
// Halves are the low (0) and the high (1) half of each lane of 16 bytes: bytes widen to two vectors
// of words and those to four of double words, and packing undoes that.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/arithmetic.h"

namespace q32::merge {
namespace {

using rows::equal_bytes;

// --- 16 bytes ------------------------------------------------------------------------------------

template <class V>
V repeat_dword(int value);

template <>
inline V16 repeat_dword<V16>(int value) {
    return _mm_set1_epi32(value);
}
inline V16 add_bytes(V16 a, V16 b) {
    return _mm_add_epi8(a, b);
}
inline V16 subtract_bytes(V16 a, V16 b) {
    return _mm_sub_epi8(a, b);
}
// Bytes of a where those of the mask are all ones, of b where they are 0.
inline V16 choose_bytes(V16 mask, V16 a, V16 b) {
    return _mm_blendv_epi8(b, a, mask);
}
// (a + b + 1) / 2.
inline V16 average_bytes(V16 a, V16 b) {
    return _mm_avg_epu8(a, b);
}
inline V16 min_signed_words(V16 a, V16 b) {
    return _mm_min_epi16(a, b);
}
inline V16 max_signed_words(V16 a, V16 b) {
    return _mm_max_epi16(a, b);
}
inline V16 greater_signed_words(V16 a, V16 b) {
    return _mm_cmpgt_epi16(a, b);
}
inline V16 interleave_low_words(V16 a, V16 b) {
    return _mm_unpacklo_epi16(a, b);
}
inline V16 interleave_high_words(V16 a, V16 b) {
    return _mm_unpackhi_epi16(a, b);
}
// Signed words of a times those of b, two products summed to a double word.
inline V16 sum_word_products(V16 a, V16 b) {
    return _mm_madd_epi16(a, b);
}
inline V16 add_dwords(V16 a, V16 b) {
    return _mm_add_epi32(a, b);
}
inline V16 equal_dwords(V16 a, V16 b) {
    return _mm_cmpeq_epi32(a, b);
}
// Double words to signed words: what lies beyond their limits becomes the limit.
inline V16 pack_dwords(V16 a, V16 b) {
    return _mm_packs_epi32(a, b);
}
// a / b, truncated, of double words below 2^24 of which neither is negative and b is not 0; exact
// unless the true quotient comes within a 2^-22th of the next whole number.
inline V16 quotient(V16 a, V16 b) {
    return _mm_cvttps_epi32(_mm_div_ps(_mm_cvtepi32_ps(a), _mm_cvtepi32_ps(b)));
}
inline bool any_bit(V16 v) {
    return !_mm_testz_si128(v, v);
}

// --- 32 bytes ------------------------------------------------------------------------------------

#ifdef __AVX2__

template <>
inline V32 repeat_dword<V32>(int value) {
    return _mm256_set1_epi32(value);
}
inline V32 add_bytes(V32 a, V32 b) {
    return _mm256_add_epi8(a, b);
}
inline V32 subtract_bytes(V32 a, V32 b) {
    return _mm256_sub_epi8(a, b);
}
inline V32 choose_bytes(V32 mask, V32 a, V32 b) {
    return _mm256_blendv_epi8(b, a, mask);
}
inline V32 average_bytes(V32 a, V32 b) {
    return _mm256_avg_epu8(a, b);
}
inline V32 min_signed_words(V32 a, V32 b) {
    return _mm256_min_epi16(a, b);
}
inline V32 max_signed_words(V32 a, V32 b) {
    return _mm256_max_epi16(a, b);
}
inline V32 greater_signed_words(V32 a, V32 b) {
    return _mm256_cmpgt_epi16(a, b);
}
inline V32 interleave_low_words(V32 a, V32 b) {
    return _mm256_unpacklo_epi16(a, b);
}
inline V32 interleave_high_words(V32 a, V32 b) {
    return _mm256_unpackhi_epi16(a, b);
}
inline V32 sum_word_products(V32 a, V32 b) {
    return _mm256_madd_epi16(a, b);
}
inline V32 add_dwords(V32 a, V32 b) {
    return _mm256_add_epi32(a, b);
}
inline V32 equal_dwords(V32 a, V32 b) {
    return _mm256_cmpeq_epi32(a, b);
}
inline V32 pack_dwords(V32 a, V32 b) {
    return _mm256_packs_epi32(a, b);
}
inline V32 quotient(V32 a, V32 b) {
    return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(a), _mm256_cvtepi32_ps(b)));
}
inline bool any_bit(V32 v) {
    return !_mm256_testz_si256(v, v);
}

#endif

// --- 64 bytes ------------------------------------------------------------------------------------

#ifdef __AVX512VBMI__

template <>
inline V64 repeat_dword<V64>(int value) {
    return _mm512_set1_epi32(value);
}
inline V64 add_bytes(V64 a, V64 b) {
    return _mm512_add_epi8(a, b);
}
inline V64 subtract_bytes(V64 a, V64 b) {
    return _mm512_sub_epi8(a, b);
}
inline V64 equal_bytes(V64 a, V64 b) {
    return _mm512_movm_epi8(_mm512_cmpeq_epi8_mask(a, b));
}
inline V64 choose_bytes(V64 mask, V64 a, V64 b) {
    return _mm512_ternarylogic_epi32(mask, a, b, 0xCA);
}
inline V64 average_bytes(V64 a, V64 b) {
    return _mm512_avg_epu8(a, b);
}
inline V64 min_signed_words(V64 a, V64 b) {
    return _mm512_min_epi16(a, b);
}
inline V64 max_signed_words(V64 a, V64 b) {
    return _mm512_max_epi16(a, b);
}
inline V64 greater_signed_words(V64 a, V64 b) {
    return _mm512_movm_epi16(_mm512_cmpgt_epi16_mask(a, b));
}
inline V64 interleave_low_words(V64 a, V64 b) {
    return _mm512_unpacklo_epi16(a, b);
}
inline V64 interleave_high_words(V64 a, V64 b) {
    return _mm512_unpackhi_epi16(a, b);
}
inline V64 sum_word_products(V64 a, V64 b) {
    return _mm512_madd_epi16(a, b);
}
inline V64 add_dwords(V64 a, V64 b) {
    return _mm512_add_epi32(a, b);
}
inline V64 equal_dwords(V64 a, V64 b) {
    return _mm512_movm_epi32(_mm512_cmpeq_epi32_mask(a, b));
}
inline V64 pack_dwords(V64 a, V64 b) {
    return _mm512_packs_epi32(a, b);
}
inline V64 quotient(V64 a, V64 b) {
    return _mm512_cvttps_epi32(_mm512_div_ps(_mm512_cvtepi32_ps(a), _mm512_cvtepi32_ps(b)));
}
inline bool any_bit(V64 v) {
    return _mm512_test_epi32_mask(v, v) != 0;
}

#endif

// --- halves --------------------------------------------------------------------------------------

template <size_t half, class V>
V interleave_bytes(V a, V b) {
    if constexpr (half == 0)
        return interleave_low_bytes(a, b);
    else
        return interleave_high_bytes(a, b);
}

template <size_t half, class V>
V interleave_words(V a, V b) {
    if constexpr (half == 0)
        return interleave_low_words(a, b);
    else
        return interleave_high_words(a, b);
}

// (a + b) / 2.
template <class V>
V floor_average_bytes(V a, V b) {
    return subtract_bytes(average_bytes(a, b), (a ^ b) & repeat_byte<V>(1));
}

// Bits of v where the mask has none.
template <class V>
V without(V mask, V v) {
    return v & ~mask;
}

template <size_t half, class V>
V words_of(V bytes) {
    return interleave_bytes<half>(bytes, zero<V>());
}

template <size_t half, class V>
V dwords_of(V words) {
    return interleave_words<half>(words, zero<V>());
}

} // namespace
} // namespace q32::merge
