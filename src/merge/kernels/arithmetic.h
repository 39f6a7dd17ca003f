// Arithmetic on bytes and 16-bit words of vectors, under one set of names for 16, 32 and 64 bytes:
// what the merge kernels compute with, beside the loads, stores and shuffles of all kernels. Words
// are unsigned where nothing else is said, and wrap. Interleaving and packing work inside each lane
// of 16 bytes, so that the one undoes the other.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/vectors.h"

namespace q32::merge {
namespace {

using std::size_t;
using std::uint8_t;

using rows::V16;
#ifdef __AVX2__
using rows::V32;
#endif
#ifdef __AVX512VBMI__
using rows::V64;
#endif
using rows::load;
using rows::min_bytes;
using rows::repeat_byte;
using rows::repeat_lane;
using rows::repeat_word;
using rows::store;
using rows::words_down;
using rows::words_up;
#ifdef __SSE4_1__
using rows::shuffle;
#endif

// --- 16 bytes ------------------------------------------------------------------------------------

template <class V>
V zero();

template <>
inline V16 zero<V16>() {
    return _mm_setzero_si128();
}
inline V16 complement(V16 v) {
    return ~v;
}
inline bool all_zero(V16 v) {
#ifdef __SSE4_1__
    return _mm_testz_si128(v, v);
#else
    return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) == 0xFFFF;
#endif
}
inline V16 add_bytes_saturated(V16 a, V16 b) {
    return _mm_adds_epu8(a, b);
}
inline V16 subtract_bytes_saturated(V16 a, V16 b) {
    return _mm_subs_epu8(a, b);
}
inline V16 max_bytes(V16 a, V16 b) {
    return _mm_max_epu8(a, b);
}
inline V16 add_words(V16 a, V16 b) {
    return _mm_add_epi16(a, b);
}
inline V16 subtract_words(V16 a, V16 b) {
    return _mm_sub_epi16(a, b);
}
// The low and the high half of the product of two words.
inline V16 multiply_low(V16 a, V16 b) {
    return _mm_mullo_epi16(a, b);
}
inline V16 multiply_high(V16 a, V16 b) {
    return _mm_mulhi_epu16(a, b);
}
// The bytes of the low or high half of each lane: a0 b0 a1 b1 ..., so words a + 256 x b.
inline V16 interleave_low_bytes(V16 a, V16 b) {
    return _mm_unpacklo_epi8(a, b);
}
inline V16 interleave_high_bytes(V16 a, V16 b) {
    return _mm_unpackhi_epi8(a, b);
}
// Signed words to bytes: below 0 becomes 0, above 255 becomes 255.
inline V16 pack_words(V16 a, V16 b) {
    return _mm_packus_epi16(a, b);
}
// Signed words to signed bytes: what lies beyond their limits becomes the limit.
inline V16 pack_signed_words(V16 a, V16 b) {
    return _mm_packs_epi16(a, b);
}
// All ones where equal, 0 elsewhere.
inline V16 equal_words(V16 a, V16 b) {
    return _mm_cmpeq_epi16(a, b);
}
#ifdef __SSE4_1__
// Bytes of a times signed bytes of b, two products summed to a signed word, within its limits.
inline V16 sum_byte_products(V16 a, V16 b) {
    return _mm_maddubs_epi16(a, b);
}
// (a x b + 16384) / 32768 of signed words, rounded down.
inline V16 multiply_fractions(V16 a, V16 b) {
    return _mm_mulhrs_epi16(a, b);
}
#endif

// --- 32 bytes ------------------------------------------------------------------------------------

#ifdef __AVX2__

template <>
inline V32 zero<V32>() {
    return _mm256_setzero_si256();
}
inline V32 complement(V32 v) {
    return ~v;
}
inline bool all_zero(V32 v) {
    return _mm256_testz_si256(v, v);
}
inline V32 add_bytes_saturated(V32 a, V32 b) {
    return _mm256_adds_epu8(a, b);
}
inline V32 subtract_bytes_saturated(V32 a, V32 b) {
    return _mm256_subs_epu8(a, b);
}
inline V32 max_bytes(V32 a, V32 b) {
    return _mm256_max_epu8(a, b);
}
inline V32 add_words(V32 a, V32 b) {
    return _mm256_add_epi16(a, b);
}
inline V32 subtract_words(V32 a, V32 b) {
    return _mm256_sub_epi16(a, b);
}
inline V32 multiply_low(V32 a, V32 b) {
    return _mm256_mullo_epi16(a, b);
}
inline V32 multiply_high(V32 a, V32 b) {
    return _mm256_mulhi_epu16(a, b);
}
inline V32 interleave_low_bytes(V32 a, V32 b) {
    return _mm256_unpacklo_epi8(a, b);
}
inline V32 interleave_high_bytes(V32 a, V32 b) {
    return _mm256_unpackhi_epi8(a, b);
}
inline V32 pack_words(V32 a, V32 b) {
    return _mm256_packus_epi16(a, b);
}
inline V32 pack_signed_words(V32 a, V32 b) {
    return _mm256_packs_epi16(a, b);
}
inline V32 equal_words(V32 a, V32 b) {
    return _mm256_cmpeq_epi16(a, b);
}
inline V32 sum_byte_products(V32 a, V32 b) {
    return _mm256_maddubs_epi16(a, b);
}
inline V32 multiply_fractions(V32 a, V32 b) {
    return _mm256_mulhrs_epi16(a, b);
}

#endif

// --- 64 bytes ------------------------------------------------------------------------------------

#ifdef __AVX512VBMI__

template <>
inline V64 zero<V64>() {
    return _mm512_setzero_si512();
}
// The instruction that GCC takes for ~ waits for what its destination held before.
inline V64 complement(V64 v) {
    return _mm512_subs_epu8(_mm512_set1_epi8(char(0xFF)), v);
}
inline bool all_zero(V64 v) {
    return _mm512_test_epi32_mask(v, v) == 0;
}
inline V64 add_bytes_saturated(V64 a, V64 b) {
    return _mm512_adds_epu8(a, b);
}
inline V64 subtract_bytes_saturated(V64 a, V64 b) {
    return _mm512_subs_epu8(a, b);
}
inline V64 max_bytes(V64 a, V64 b) {
    return _mm512_max_epu8(a, b);
}
inline V64 add_words(V64 a, V64 b) {
    return _mm512_add_epi16(a, b);
}
inline V64 subtract_words(V64 a, V64 b) {
    return _mm512_sub_epi16(a, b);
}
inline V64 multiply_low(V64 a, V64 b) {
    return _mm512_mullo_epi16(a, b);
}
inline V64 multiply_high(V64 a, V64 b) {
    return _mm512_mulhi_epu16(a, b);
}
inline V64 interleave_low_bytes(V64 a, V64 b) {
    return _mm512_unpacklo_epi8(a, b);
}
inline V64 interleave_high_bytes(V64 a, V64 b) {
    return _mm512_unpackhi_epi8(a, b);
}
inline V64 pack_words(V64 a, V64 b) {
    return _mm512_packus_epi16(a, b);
}
inline V64 pack_signed_words(V64 a, V64 b) {
    return _mm512_packs_epi16(a, b);
}
inline V64 equal_words(V64 a, V64 b) {
    return _mm512_movm_epi16(_mm512_cmpeq_epi16_mask(a, b));
}
inline V64 sum_byte_products(V64 a, V64 b) {
    return _mm512_maddubs_epi16(a, b);
}
inline V64 multiply_fractions(V64 a, V64 b) {
    return _mm512_mulhrs_epi16(a, b);
}

#endif

// --- any size -----------------------------------------------------------------------------------

// Two bytes, so one word, for each byte of a vector: those of the lanes' low halves, and those of
// their high halves.
template <class V>
struct Pairs {
    V low, high;
};

template <class V>
Pairs<V> interleaved(V first, V second) {
    return {interleave_low_bytes(first, second), interleave_high_bytes(first, second)};
}

// x / 255, truncated, from words that hold x + 1: with x = 255 q + e, (x + 1) x 257 is 65536 q and
// 257 (e + 1) - q, which is neither below 0 nor as much as 65536.
template <class V>
V over_255(V words_and_1) {
    return multiply_high(words_and_1, repeat_word<V>(257));
}

} // namespace
} // namespace q32::merge
