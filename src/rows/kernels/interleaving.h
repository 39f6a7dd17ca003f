// Two vectors interleaved and two vectors packed into one, in the order of memory: the lanes of
// wider vectors are put in order here. Names as in vectors.h, for what scaling needs beside it.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/vectors.h"

namespace q32::rows {
namespace {

template <class V>
struct Two {
    V first, second;
};

// Interleaving works lane by lane: `deal` gives each lane the two quarters that come out of it.
// Packing leaves the quarters of two vectors mixed, which `collect` puts back in order.

// --- 16 bytes -----------------------------------------------------------------------------------

inline V16 deal(V16 v) {
    return v;
}
inline V16 collect(V16 v) {
    return v;
}
template <size_t unit_bytes>
Two<V16> interleave_dealt(V16 a, V16 b) {
    if constexpr (unit_bytes == 1)
        return {_mm_unpacklo_epi8(a, b), _mm_unpackhi_epi8(a, b)};
    else if constexpr (unit_bytes == 2)
        return {_mm_unpacklo_epi16(a, b), _mm_unpackhi_epi16(a, b)};
    else
        return {_mm_unpacklo_epi32(a, b), _mm_unpackhi_epi32(a, b)};
}
// Words of 0 to 255 to bytes.
inline V16 pack_words(V16 a, V16 b) {
    return _mm_packus_epi16(a, b);
}

// --- 32 bytes -----------------------------------------------------------------------------------

#ifdef __AVX2__

inline V32 deal(V32 v) {
    return _mm256_permute4x64_epi64(v, _MM_SHUFFLE(3, 1, 2, 0));
}
inline V32 collect(V32 v) {
    return _mm256_permute4x64_epi64(v, _MM_SHUFFLE(3, 1, 2, 0));
}
template <size_t unit_bytes>
Two<V32> interleave_dealt(V32 a, V32 b) {
    if constexpr (unit_bytes == 1)
        return {_mm256_unpacklo_epi8(a, b), _mm256_unpackhi_epi8(a, b)};
    else if constexpr (unit_bytes == 2)
        return {_mm256_unpacklo_epi16(a, b), _mm256_unpackhi_epi16(a, b)};
    else
        return {_mm256_unpacklo_epi32(a, b), _mm256_unpackhi_epi32(a, b)};
}
inline V32 pack_words(V32 a, V32 b) {
    return collect(_mm256_packus_epi16(a, b));
}

#endif

// --- 64 bytes -----------------------------------------------------------------------------------

#ifdef __AVX512VBMI__

inline V64 deal(V64 v) {
    return _mm512_permutexvar_epi64(_mm512_set_epi64(7, 3, 6, 2, 5, 1, 4, 0), v);
}
inline V64 collect(V64 v) {
    return _mm512_permutexvar_epi64(_mm512_set_epi64(7, 5, 3, 1, 6, 4, 2, 0), v);
}
template <size_t unit_bytes>
Two<V64> interleave_dealt(V64 a, V64 b) {
    if constexpr (unit_bytes == 1)
        return {_mm512_unpacklo_epi8(a, b), _mm512_unpackhi_epi8(a, b)};
    else if constexpr (unit_bytes == 2)
        return {_mm512_unpacklo_epi16(a, b), _mm512_unpackhi_epi16(a, b)};
    else
        return {_mm512_unpacklo_epi32(a, b), _mm512_unpackhi_epi32(a, b)};
}
inline V64 pack_words(V64 a, V64 b) {
    return collect(_mm512_packus_epi16(a, b));
}

#endif

} // namespace
} // namespace q32::rows
