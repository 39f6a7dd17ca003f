// Arithmetic on bytes and words of vectors, and places of bytes in them, under one set of names for
// 16, 32 and 64 bytes: what showing needs beside the loads, stores and shuffles of all kernels.
// Words are unsigned and wrap. Interleaving and packing work inside each lane of 16 bytes, so that
// the one undoes the other.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/vectors.h"

namespace q32::display {
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
using rows::repeat_byte;
using rows::repeat_word;
using rows::store;
using rows::words_down;

// --- 16 bytes ------------------------------------------------------------------------------------

inline V16 add_bytes(V16 a, V16 b) {
    return _mm_add_epi8(a, b);
}
inline V16 add_bytes_saturated(V16 a, V16 b) {
    return _mm_adds_epu8(a, b);
}
inline V16 subtract_bytes(V16 a, V16 b) {
    return _mm_sub_epi8(a, b);
}
inline V16 subtract_bytes_saturated(V16 a, V16 b) {
    return _mm_subs_epu8(a, b);
}
// All ones where a is at least b, 0 elsewhere.
inline V16 at_least(V16 a, V16 b) {
    return _mm_cmpeq_epi8(_mm_max_epu8(a, b), a);
}
inline V16 either(V16 a, V16 b) {
    return a | b;
}
inline V16 add_words(V16 a, V16 b) {
    return _mm_add_epi16(a, b);
}
// The low and the high half of the product of two words.
inline V16 multiply_low(V16 a, V16 b) {
    return _mm_mullo_epi16(a, b);
}
inline V16 multiply_high(V16 a, V16 b) {
    return _mm_mulhi_epu16(a, b);
}
// The bytes of the low or high half of each lane as words.
inline V16 widen_low(V16 v) {
    return _mm_unpacklo_epi8(v, _mm_setzero_si128());
}
inline V16 widen_high(V16 v) {
    return _mm_unpackhi_epi8(v, _mm_setzero_si128());
}
inline V16 pack_words(V16 a, V16 b) {
    return _mm_packus_epi16(a, b);
}
#ifdef __SSE4_1__
// (a x b + 16384) / 32768 of signed words, rounded down.
inline V16 multiply_fractions(V16 a, V16 b) {
    return _mm_mulhrs_epi16(a, b);
}
// Bytes of b where the mask is set, of a elsewhere.
inline V16 choose_bytes(V16 mask, V16 a, V16 b) {
    return _mm_blendv_epi8(a, b, mask);
}
#endif

// --- 32 bytes ------------------------------------------------------------------------------------

#ifdef __AVX2__

inline V32 add_bytes(V32 a, V32 b) {
    return _mm256_add_epi8(a, b);
}
inline V32 add_bytes_saturated(V32 a, V32 b) {
    return _mm256_adds_epu8(a, b);
}
inline V32 subtract_bytes(V32 a, V32 b) {
    return _mm256_sub_epi8(a, b);
}
inline V32 subtract_bytes_saturated(V32 a, V32 b) {
    return _mm256_subs_epu8(a, b);
}
inline V32 at_least(V32 a, V32 b) {
    return _mm256_cmpeq_epi8(_mm256_max_epu8(a, b), a);
}
inline V32 either(V32 a, V32 b) {
    return a | b;
}
inline V32 pack_words(V32 a, V32 b) {
    return _mm256_packus_epi16(a, b);
}
inline V32 multiply_fractions(V32 a, V32 b) {
    return _mm256_mulhrs_epi16(a, b);
}
inline V32 choose_bytes(V32 mask, V32 a, V32 b) {
    return _mm256_blendv_epi8(a, b, mask);
}

#endif

// --- 64 bytes ------------------------------------------------------------------------------------

#ifdef __AVX512VBMI__

inline V64 add_bytes(V64 a, V64 b) {
    return _mm512_add_epi8(a, b);
}
inline V64 add_bytes_saturated(V64 a, V64 b) {
    return _mm512_adds_epu8(a, b);
}
inline V64 subtract_bytes(V64 a, V64 b) {
    return _mm512_sub_epi8(a, b);
}
inline V64 subtract_bytes_saturated(V64 a, V64 b) {
    return _mm512_subs_epu8(a, b);
}
// A bit for each byte.
inline __mmask64 at_least(V64 a, V64 b) {
    return _mm512_cmpge_epu8_mask(a, b);
}
// Where it stays a mask: 32-bit code would take it apart.
inline __mmask64 either(__mmask64 a, __mmask64 b) {
    return _kor_mask64(a, b);
}
inline V64 pack_words(V64 a, V64 b) {
    return _mm512_packus_epi16(a, b);
}
inline V64 multiply_fractions(V64 a, V64 b) {
    return _mm512_mulhrs_epi16(a, b);
}
// The mask comes from a vector because 32-bit code would put a constant one together on the stack,
// in every step.
inline V64 choose_bytes(V64 mask, V64 a, V64 b) {
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(mask), a, b);
}

#endif

// --- pieces --------------------------------------------------------------------------------------

// What one choice of bytes can reach: a lane, or all 64 bytes where the processor can permute them.
// A run is taken in pieces as well, so that every vector has whole pixels in each.
template <class V>
inline constexpr int piece_bytes = sizeof(V) == 64 ? 64 : 16;

// A byte for each place of a vector: the same in every piece where a rule gives them for one.
template <class V>
struct alignas(sizeof(V)) Bytes {
    uint8_t at[sizeof(V)];

    V vector() const { return load<V>(at); }
};

template <class V, class Rule>
constexpr Bytes<V> bytes_by(Rule rule) {
    Bytes<V> bytes{};
    for (int i = 0; i < int(sizeof(V)); ++i)
        bytes.at[i] = uint8_t(rule(i));
    return bytes;
}

template <class V, class Rule>
constexpr Bytes<V> piece_by(Rule rule) {
    return bytes_by<V>([=](int i) { return rule(i % piece_bytes<V>); });
}

#ifdef __SSE4_1__

template <class V>
V permute(V v, const Bytes<V> &places) {
#ifdef __AVX512VBMI__
    if constexpr (sizeof(V) == 64)
        return _mm512_permutexvar_epi8(places.vector(), v);
    else
#endif
        return rows::shuffle(v, places.vector());
}

#endif

} // namespace
} // namespace q32::display
