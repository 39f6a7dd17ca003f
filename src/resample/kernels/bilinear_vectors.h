// What bilinear interpolation needs of vectors beyond rows/kernels/vectors.h: arithmetic in words,
// and the pairs of bytes that lines are made of.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/vectors.h"

namespace q32::resample {
namespace {

using namespace rows;

template <class V>
V load_words(const void *at) {
    return load<V>(static_cast<const uint8_t *>(at));
}

// --- 16 bytes -----------------------------------------------------------------------------------

inline V16 add_words(V16 a, V16 b) {
    return _mm_add_epi16(a, b);
}
inline V16 subtract_words(V16 a, V16 b) {
    return _mm_sub_epi16(a, b);
}
// The upper words of the products.
inline V16 multiply_signed(V16 a, V16 b) {
    return _mm_mulhi_epi16(a, b);
}
inline V16 multiply_unsigned(V16 a, V16 b) {
    return _mm_mulhi_epu16(a, b);
}
// All bits of a word below 0, none of others.
inline V16 negative_words(V16 v) {
    return _mm_srai_epi16(v, 15);
}
// Two vectors of words become one of bytes; what lies beyond the limits becomes the limit.
inline V16 pack_words(V16 a, V16 b) {
    return _mm_packus_epi16(a, b);
}

inline V16 left_of_pairs(V16 pairs) {
    return pairs & repeat_word<V16>(0x00FF);
}
inline V16 right_minus_left(V16 pairs) {
#ifdef __SSSE3__
    return _mm_maddubs_epi16(pairs, repeat_word<V16>(0x01FF)); // right by 1, left by -1
#else
    return subtract_words(words_down<8>(pairs), left_of_pairs(pairs));
#endif
}

// --- 32 bytes -----------------------------------------------------------------------------------

#ifdef __AVX2__

inline V32 add_words(V32 a, V32 b) {
    return _mm256_add_epi16(a, b);
}
inline V32 subtract_words(V32 a, V32 b) {
    return _mm256_sub_epi16(a, b);
}
inline V32 multiply_signed(V32 a, V32 b) {
    return _mm256_mulhi_epi16(a, b);
}
inline V32 multiply_unsigned(V32 a, V32 b) {
    return _mm256_mulhi_epu16(a, b);
}
inline V32 negative_words(V32 v) {
    return _mm256_srai_epi16(v, 15);
}
inline V32 pack_words(V32 a, V32 b) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), _MM_SHUFFLE(3, 1, 2, 0));
}
inline V32 left_of_pairs(V32 pairs) {
    return pairs & repeat_word<V32>(0x00FF);
}
inline V32 right_minus_left(V32 pairs) {
    return _mm256_maddubs_epi16(pairs, repeat_word<V32>(0x01FF));
}

#endif

} // namespace
} // namespace q32::resample
