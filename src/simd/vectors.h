// Vectors of 16, 32 and 64 bytes under one set of names, so that a kernel is written once for all
// sizes: the types, and how they are loaded, stored and filled. What is computed with them is
// operations.h.
//
// Included by files that are compiled for different processors: everything here is private to the
// file that includes it (or a linker could keep the copy that the processor cannot run). The names
// are the library's, so that kernels of all subsystems see them as their own.
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

namespace q32 {
inline namespace simd {
namespace {

using std::size_t;
using std::uint8_t;

using V16 = __m128i;
#ifdef __AVX2__
using V32 = __m256i;
#endif
#ifdef __AVX512VBMI__
using V64 = __m512i;
#endif

// A lane is 16 bytes: what the shuffles and interleavings of all sizes work in.
template <class V>
inline constexpr size_t lanes = sizeof(V) / sizeof(V16);

// --- loads and stores ----------------------------------------------------------------------------

// At any alignment.
inline V16 load_16(const void *at) {
    return _mm_loadu_si128(static_cast<const V16 *>(at));
}
inline void store_16(void *at, V16 v) {
    _mm_storeu_si128(static_cast<V16 *>(at), v);
}

// The low half; loading clears the other one.
inline V16 load_8(const void *at) {
    return _mm_loadl_epi64(static_cast<const V16 *>(at));
}
inline void store_8(void *at, V16 v) {
    _mm_storel_epi64(static_cast<V16 *>(at), v);
}

// Likewise the lowest four bytes.
inline V16 load_4(const void *at) {
    int number;
    std::memcpy(&number, at, sizeof number);
    return _mm_cvtsi32_si128(number);
}

template <class V>
inline V load(const void *at) {
#ifdef __AVX512VBMI__
    if constexpr (sizeof(V) == 64)
        return _mm512_loadu_si512(at);
#endif
#ifdef __AVX2__
    if constexpr (sizeof(V) == 32)
        return _mm256_loadu_si256(static_cast<const V32 *>(at));
#endif
    if constexpr (sizeof(V) == 16)
        return load_16(at);
}

inline void store(void *at, V16 v) {
    store_16(at, v);
}
#ifdef __AVX2__
inline void store(void *at, V32 v) {
    _mm256_storeu_si256(static_cast<V32 *>(at), v);
}
#endif
#ifdef __AVX512VBMI__
inline void store(void *at, V64 v) {
    _mm512_storeu_si512(at, v);
}
#endif

// Past the caches, at a whole vector. What follows sees it after a fence.
inline void stream(void *at, V16 v) {
    _mm_stream_si128(static_cast<V16 *>(at), v);
}
#ifdef __AVX2__
inline void stream(void *at, V32 v) {
    _mm256_stream_si256(static_cast<V32 *>(at), v);
}
#endif
#ifdef __AVX512VBMI__
inline void stream(void *at, V64 v) {
    _mm512_stream_si512(static_cast<V64 *>(at), v);
}
#endif
inline void fence_streams() {
    _mm_sfence();
}

// --- lanes ---------------------------------------------------------------------------------------

// Vectors of one and of two lanes: where each has pixels of its own.

template <class V>
inline V join_lanes(V16 first, [[maybe_unused]] V16 second) {
    static_assert(lanes<V> <= 2);
#ifdef __AVX2__
    if constexpr (lanes<V> == 2)
        return _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
#endif
    if constexpr (lanes<V> == 1)
        return first;
}

template <size_t lane>
inline V16 lane_of(V16 v) {
    static_assert(lane == 0);
    return v;
}
#ifdef __AVX2__
template <size_t lane>
inline V16 lane_of(V32 v) {
    if constexpr (lane == 0)
        return _mm256_castsi256_si128(v);
    else
        return _mm256_extracti128_si256(v, 1);
}
#endif

// Lane k at `at` + k x distance.
template <class V>
inline V load_lanes(const uint8_t *at, [[maybe_unused]] size_t distance) {
    if constexpr (lanes<V> == 1)
        return load_16(at);
    else
        return join_lanes<V>(load_16(at), load_16(at + distance));
}
template <class V>
inline void store_lanes(uint8_t *at, [[maybe_unused]] size_t distance, V v) {
    static_assert(lanes<V> <= 2);
    store_16(at, lane_of<0>(v));
    if constexpr (lanes<V> == 2)
        store_16(at + distance, lane_of<1>(v));
}

// --- what will be read soon ---------------------------------------------------------------------

// Addresses behind all memory are harmless.
template <size_t bytes>
inline void prefetch(const uint8_t *at) {
    for (size_t i = 0; i < bytes; i += 64)
        _mm_prefetch(reinterpret_cast<const char *>(at + i), _MM_HINT_T0);
}

// --- one value throughout ------------------------------------------------------------------------

template <class V>
inline V zero() {
    return V{};
}

template <class V>
inline V repeat_u8(int value) {
#ifdef __AVX512VBMI__
    if constexpr (sizeof(V) == 64)
        return _mm512_set1_epi8(char(value));
#endif
#ifdef __AVX2__
    if constexpr (sizeof(V) == 32)
        return _mm256_set1_epi8(char(value));
#endif
    if constexpr (sizeof(V) == 16)
        return _mm_set1_epi8(char(value));
}

template <class V>
inline V repeat_u16(int value) {
#ifdef __AVX512VBMI__
    if constexpr (sizeof(V) == 64)
        return _mm512_set1_epi16(short(value));
#endif
#ifdef __AVX2__
    if constexpr (sizeof(V) == 32)
        return _mm256_set1_epi16(short(value));
#endif
    if constexpr (sizeof(V) == 16)
        return _mm_set1_epi16(short(value));
}

template <class V>
inline V repeat_u32(int value) {
#ifdef __AVX512VBMI__
    if constexpr (sizeof(V) == 64)
        return _mm512_set1_epi32(value);
#endif
#ifdef __AVX2__
    if constexpr (sizeof(V) == 32)
        return _mm256_set1_epi32(value);
#endif
    if constexpr (sizeof(V) == 16)
        return _mm_set1_epi32(value);
}

// The same 16 bytes in every lane.
template <class V>
inline V repeat_lane(V16 lane) {
#ifdef __AVX512VBMI__
    if constexpr (sizeof(V) == 64)
        return _mm512_broadcast_i32x4(lane);
#endif
#ifdef __AVX2__
    if constexpr (sizeof(V) == 32)
        return _mm256_broadcastsi128_si256(lane);
#endif
    if constexpr (sizeof(V) == 16)
        return lane;
}

} // namespace
} // namespace simd
} // namespace q32
