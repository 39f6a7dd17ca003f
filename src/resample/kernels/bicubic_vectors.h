// What bicubic interpolation needs of vectors beyond rows/kernels/vectors.h: sums of products in
// double words, and the ways from them to words and bytes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/vectors.h"

namespace q32::resample {
namespace {

using namespace rows;

template <class V>
constexpr int lanes_of = sizeof(V) / sizeof(V16);

template <class V>
V repeat_dword(int value);

// --- 16 bytes -----------------------------------------------------------------------------------

template <>
inline V16 repeat_dword<V16>(int value) {
    return _mm_set1_epi32(value);
}
// Double word k of each lane, in all of the lane.
template <int k>
V16 repeat_in_lane(V16 v) {
    return _mm_shuffle_epi32(v, k * 0x55);
}
// Products of signed words, those of neighbours added: double words.
inline V16 sum_word_products(V16 a, V16 b) {
    return _mm_madd_epi16(a, b);
}
inline V16 add_dwords(V16 a, V16 b) {
    return _mm_add_epi32(a, b);
}
inline V16 subtract_dwords(V16 a, V16 b) {
    return _mm_sub_epi32(a, b);
}
// The sign comes in from above.
template <int count>
V16 signed_dwords_down(V16 v) {
    return _mm_srai_epi32(v, count);
}
inline V16 max_words(V16 a, V16 b) {
    return _mm_max_epi16(a, b);
}
inline V16 equal_words(V16 a, V16 b) {
    return _mm_cmpeq_epi16(a, b);
}
// What lies beyond the limits of signed words, or of bytes, becomes the limit.
inline V16 pack_dwords(V16 a, V16 b) {
    return _mm_packs_epi32(a, b);
}
inline V16 pack_words(V16 a, V16 b) {
    return _mm_packus_epi16(a, b);
}
// Packing works inside lanes: what two vectors in a row became, back in their order.
inline V16 packed_in_order(V16 v) {
    return v;
}
inline V16 lane_0(V16 v) {
    return v;
}

// --- 32 bytes -----------------------------------------------------------------------------------

#ifdef __AVX2__

template <>
inline V32 repeat_dword<V32>(int value) {
    return _mm256_set1_epi32(value);
}
template <int k>
V32 repeat_in_lane(V32 v) {
    return _mm256_shuffle_epi32(v, k * 0x55);
}
inline V32 sum_word_products(V32 a, V32 b) {
    return _mm256_madd_epi16(a, b);
}
inline V32 add_dwords(V32 a, V32 b) {
    return _mm256_add_epi32(a, b);
}
inline V32 subtract_dwords(V32 a, V32 b) {
    return _mm256_sub_epi32(a, b);
}
template <int count>
V32 signed_dwords_down(V32 v) {
    return _mm256_srai_epi32(v, count);
}
inline V32 max_words(V32 a, V32 b) {
    return _mm256_max_epi16(a, b);
}
inline V32 equal_words(V32 a, V32 b) {
    return _mm256_cmpeq_epi16(a, b);
}
inline V32 pack_dwords(V32 a, V32 b) {
    return _mm256_packs_epi32(a, b);
}
inline V32 pack_words(V32 a, V32 b) {
    return _mm256_packus_epi16(a, b);
}
inline V32 packed_in_order(V32 v) {
    return _mm256_permute4x64_epi64(v, 0xD8);
}
inline V16 lane_0(V32 v) {
    return _mm256_castsi256_si128(v);
}
inline V16 lane_1(V32 v) {
    return _mm256_extracti128_si256(v, 1);
}

#endif

} // namespace
} // namespace q32::resample
