// Vectors of 16, 32 and 64 bytes under one set of names, so that a kernel is written once for both.
// Operations on bytes work inside each lane of 16 bytes; the kernels give every lane its own
// pixels.
//
// Included by files that are compiled for different processors: everything here is private to the
// file that includes it (or a linker could keep the copy that the processor cannot run).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __AVX512F__
// GCC 12 takes the vectors that its own header leaves undefined on purpose for a mistake.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif

#ifdef __AVX2__
#include <immintrin.h>
#elif defined(__SSE4_1__)
#include <smmintrin.h>
#else
#include <emmintrin.h>
#endif

// Vector types as template arguments lose their alias attribute, and GCC warns of each; the build
// does not use aliasing rules at all.
#pragma GCC diagnostic ignored "-Wignored-attributes"

namespace q32::rows {
namespace {

using std::size_t;
using std::uint8_t;

// --- 16 bytes -----------------------------------------------------------------------------------

using V16 = __m128i;

inline V16 load_16(const uint8_t *at) {
    return _mm_loadu_si128(reinterpret_cast<const V16 *>(at));
}

inline void store_16(uint8_t *at, V16 v) {
    _mm_storeu_si128(reinterpret_cast<V16 *>(at), v);
}

inline V16 load_8(const uint8_t *at) {
    return _mm_loadl_epi64(reinterpret_cast<const V16 *>(at));
}

inline void store_8(uint8_t *at, V16 v) {
    _mm_storel_epi64(reinterpret_cast<V16 *>(at), v);
}

template <class Mask>
inline void store_complement(uint8_t *at, Mask mask) {
    const Mask complement = Mask(~mask);
    std::memcpy(at, &complement, sizeof complement);
}

template <class V>
V load(const uint8_t *at);
template <class V>
V load_lanes(const uint8_t *at, size_t distance);
template <class V>
V repeat_byte(uint8_t value);
template <class V>
V repeat_word(int value);
template <class V>
V repeat_lane(V16 lane);
template <class V>
V join_lanes(const V16 (&period)[3], size_t index);

template <>
inline V16 load<V16>(const uint8_t *at) {
    return load_16(at);
}
// Lane k comes from at + k x distance.
template <>
inline V16 load_lanes<V16>(const uint8_t *at, size_t) {
    return load_16(at);
}
template <>
inline V16 repeat_byte<V16>(uint8_t value) {
    return _mm_set1_epi8(char(value));
}
template <>
inline V16 repeat_word<V16>(int value) {
    return _mm_set1_epi16(short(value));
}
template <>
inline V16 repeat_lane<V16>(V16 lane) {
    return lane;
}
// Vector `index` of the endless sequence that repeats three lanes.
template <>
inline V16 join_lanes<V16>(const V16 (&period)[3], size_t index) {
    return period[index % 3];
}

inline void store(uint8_t *at, V16 v) {
    store_16(at, v);
}
inline void store_lanes(uint8_t *at, size_t, V16 v) {
    store_16(at, v);
}

inline V16 min_bytes(V16 a, V16 b) {
    return _mm_min_epu8(a, b);
}
inline V16 equal_bytes(V16 a, V16 b) {
    return _mm_cmpeq_epi8(a, b);
}
inline std::uint16_t top_bits(V16 v) {
    return std::uint16_t(_mm_movemask_epi8(v));
}
template <int count>
V16 words_up(V16 v) {
    return _mm_slli_epi16(v, count);
}
template <int count>
V16 words_down(V16 v) {
    return _mm_srli_epi16(v, count);
}
// By a count in the low half of a vector.
inline V16 words_up(V16 v, V16 count) {
    return _mm_sll_epi16(v, count);
}
inline V16 words_down(V16 v, V16 count) {
    return _mm_srl_epi16(v, count);
}
// Bits of a where the mask is set, of b elsewhere.
inline V16 choose_bits(V16 mask, V16 a, V16 b) {
    return (mask & a) | _mm_andnot_si128(mask, b);
}
inline V16 interleave_low_words(V16 a, V16 b) {
    return _mm_unpacklo_epi16(a, b);
}
inline V16 interleave_high_words(V16 a, V16 b) {
    return _mm_unpackhi_epi16(a, b);
}
inline V16 low_halves(V16 a, V16 b) {
    return _mm_unpacklo_epi64(a, b);
}
inline V16 high_halves(V16 a, V16 b) {
    return _mm_unpackhi_epi64(a, b);
}
#ifdef __SSE4_1__
inline V16 shuffle(V16 v, V16 indices) {
    return _mm_shuffle_epi8(v, indices);
}
// Double word i of each lane from b where bit i of the choice is set.
template <int choice>
V16 choose_dwords(V16 a, V16 b) {
    constexpr int words = (choice & 1 ? 0x03 : 0) | (choice & 2 ? 0x0C : 0) |
                          (choice & 4 ? 0x30 : 0) | (choice & 8 ? 0xC0 : 0);
    return _mm_blend_epi16(a, b, words);
}
#endif

// --- 32 bytes -----------------------------------------------------------------------------------

#ifdef __AVX2__

using V32 = __m256i;

template <>
inline V32 load<V32>(const uint8_t *at) {
    return _mm256_loadu_si256(reinterpret_cast<const V32 *>(at));
}
template <>
inline V32 load_lanes<V32>(const uint8_t *at, size_t distance) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load_16(at)), load_16(at + distance), 1);
}
template <>
inline V32 repeat_byte<V32>(uint8_t value) {
    return _mm256_set1_epi8(char(value));
}
template <>
inline V32 repeat_word<V32>(int value) {
    return _mm256_set1_epi16(short(value));
}
template <>
inline V32 repeat_lane<V32>(V16 lane) {
    return _mm256_broadcastsi128_si256(lane);
}
template <>
inline V32 join_lanes<V32>(const V16 (&period)[3], size_t index) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(period[2 * index % 3]),
                                   period[(2 * index + 1) % 3], 1);
}

inline void store(uint8_t *at, V32 v) {
    _mm256_storeu_si256(reinterpret_cast<V32 *>(at), v);
}
inline void store_lanes(uint8_t *at, size_t distance, V32 v) {
    store_16(at, _mm256_castsi256_si128(v));
    store_16(at + distance, _mm256_extracti128_si256(v, 1));
}

inline V32 min_bytes(V32 a, V32 b) {
    return _mm256_min_epu8(a, b);
}
inline V32 equal_bytes(V32 a, V32 b) {
    return _mm256_cmpeq_epi8(a, b);
}
inline std::uint32_t top_bits(V32 v) {
    return std::uint32_t(_mm256_movemask_epi8(v));
}
template <int count>
V32 words_up(V32 v) {
    return _mm256_slli_epi16(v, count);
}
template <int count>
V32 words_down(V32 v) {
    return _mm256_srli_epi16(v, count);
}
inline V32 words_up(V32 v, V16 count) {
    return _mm256_sll_epi16(v, count);
}
inline V32 words_down(V32 v, V16 count) {
    return _mm256_srl_epi16(v, count);
}
inline V32 choose_bits(V32 mask, V32 a, V32 b) {
    return (mask & a) | _mm256_andnot_si256(mask, b);
}
inline V32 interleave_low_words(V32 a, V32 b) {
    return _mm256_unpacklo_epi16(a, b);
}
inline V32 interleave_high_words(V32 a, V32 b) {
    return _mm256_unpackhi_epi16(a, b);
}
inline V32 low_halves(V32 a, V32 b) {
    return _mm256_unpacklo_epi64(a, b);
}
inline V32 high_halves(V32 a, V32 b) {
    return _mm256_unpackhi_epi64(a, b);
}
inline V32 shuffle(V32 v, V32 indices) {
    return _mm256_shuffle_epi8(v, indices);
}
template <int choice>
V32 choose_dwords(V32 a, V32 b) {
    return _mm256_blend_epi32(a, b, choice | choice << 4);
}

#endif

// --- 64 bytes -----------------------------------------------------------------------------------

#ifdef __AVX512VBMI__

using V64 = __m512i;

template <>
inline V64 load<V64>(const uint8_t *at) {
    return _mm512_loadu_si512(at);
}
template <>
inline V64 repeat_byte<V64>(uint8_t value) {
    return _mm512_set1_epi8(char(value));
}
template <>
inline V64 repeat_word<V64>(int value) {
    return _mm512_set1_epi16(short(value));
}
template <>
inline V64 repeat_lane<V64>(V16 lane) {
    return _mm512_broadcast_i32x4(lane);
}

inline void store(uint8_t *at, V64 v) {
    _mm512_storeu_si512(at, v);
}

inline V64 min_bytes(V64 a, V64 b) {
    return _mm512_min_epu8(a, b);
}
template <int count>
V64 words_up(V64 v) {
    return _mm512_slli_epi16(v, count);
}
template <int count>
V64 words_down(V64 v) {
    return _mm512_srli_epi16(v, count);
}
inline V64 shuffle(V64 v, V64 indices) {
    return _mm512_shuffle_epi8(v, indices);
}

#endif

} // namespace
} // namespace q32::rows
