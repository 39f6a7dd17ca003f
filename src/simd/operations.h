// The operations on vectors, one line each: a name and the instruction that all sizes have for it.
//
// A name ends in the numbers that it works on: u8, u16, u32 without and i8, i16, i32 with a sign; u
// where signs make no difference. Sums, differences and products wrap unless they say otherwise.
// The comment beside an operation is its meaning for one number of a, b and c.
//
// Interleaving, shuffling and packing work inside each lane of 16 bytes, so that packing undoes
// interleaving; what ends in _in_order has the order of memory.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/vectors.h"

namespace q32 {
inline namespace simd {
namespace {

// --- what an operation is made of ----------------------------------------------------------------

#ifdef __AVX2__
#define Q32_IN_32(...) __VA_ARGS__
#else
#define Q32_IN_32(...)
#endif
#ifdef __AVX512VBMI__
#define Q32_IN_64(...) __VA_ARGS__
#else
#define Q32_IN_64(...)
#endif

// Each ends in a declaration that repeats itself, which takes the semicolon.
#define Q32_OF_TWO(name, instruction)                                                              \
    Q32_IN_64(inline V64 name(V64 a, V64 b) { return _mm512_##instruction(a, b); })                \
    Q32_IN_32(inline V32 name(V32 a, V32 b) { return _mm256_##instruction(a, b); })                \
    inline V16 name(V16 a, V16 b) {                                                                \
        return _mm_##instruction(a, b);                                                            \
    }                                                                                              \
    V16 name(V16, V16)
// By a constant, and by a number in the low half of a vector.
#define Q32_SHIFT(name, by_constant, by_vector)                                                    \
    Q32_IN_64(template <int count>                                                                 \
              inline V64 name(V64 a) { return _mm512_##by_constant(a, count); })                   \
    Q32_IN_32(template <int count>                                                                 \
              inline V32 name(V32 a) { return _mm256_##by_constant(a, count); })                   \
    template <int count>                                                                           \
    inline V16 name(V16 a) {                                                                       \
        return _mm_##by_constant(a, count);                                                        \
    }                                                                                              \
    Q32_IN_64(inline V64 name(V64 a, V16 count) { return _mm512_##by_vector(a, count); })          \
    Q32_IN_32(inline V32 name(V32 a, V16 count) { return _mm256_##by_vector(a, count); })          \
    inline V16 name(V16 a, V16 count) {                                                            \
        return _mm_##by_vector(a, count);                                                          \
    }                                                                                              \
    V16 name(V16, V16)
// All ones where it holds, 0 elsewhere.
#define Q32_COMPARISON(name, instruction, type)                                                    \
    Q32_IN_64(inline V64 name(V64 a, V64 b) {                                                      \
        return _mm512_movm_##type(_mm512_##instruction##_##type##_mask(a, b));                     \
    })                                                                                             \
    Q32_IN_32(inline V32 name(V32 a, V32 b) { return _mm256_##instruction##_##type(a, b); })       \
    inline V16 name(V16 a, V16 b) {                                                                \
        return _mm_##instruction##_##type(a, b);                                                   \
    }                                                                                              \
    V16 name(V16, V16)

// --- arithmetic ----------------------------------------------------------------------------------

Q32_OF_TWO(add_u8, add_epi8);                  // a + b
Q32_OF_TWO(add_u16, add_epi16);                // a + b
Q32_OF_TWO(add_u32, add_epi32);                // a + b
Q32_OF_TWO(add_saturating_u8, adds_epu8);      // min(a + b, 255)
Q32_OF_TWO(subtract_u8, sub_epi8);             // a - b
Q32_OF_TWO(subtract_u16, sub_epi16);           // a - b
Q32_OF_TWO(subtract_u32, sub_epi32);           // a - b
Q32_OF_TWO(subtract_saturating_u8, subs_epu8); // max(a - b, 0)
Q32_OF_TWO(average_up_u8, avg_epu8);           // (a + b + 1) / 2
Q32_OF_TWO(min_u8, min_epu8);                  // min(a, b)
Q32_OF_TWO(max_u8, max_epu8);                  // max(a, b)
Q32_OF_TWO(min_i16, min_epi16);                // min(a, b)
Q32_OF_TWO(max_i16, max_epi16);                // max(a, b)

Q32_OF_TWO(multiply_low_u16, mullo_epi16);  // a x b % 65536
Q32_OF_TWO(multiply_high_u16, mulhi_epu16); // a x b / 65536
Q32_OF_TWO(multiply_high_i16, mulhi_epi16); // a x b / 65536, rounded down
// Of two neighbours: a0 x b0 + a1 x b1, as i32.
Q32_OF_TWO(sum_products_i16, madd_epi16);

Q32_SHIFT(shift_left_u16, slli_epi16, sll_epi16);  // a << count
Q32_SHIFT(shift_right_u16, srli_epi16, srl_epi16); // a >> count
Q32_SHIFT(shift_right_i16, srai_epi16, sra_epi16); // a >> count, the sign coming in from above
Q32_SHIFT(shift_right_i32, srai_epi32, sra_epi32); // a >> count, the sign coming in from above

#ifdef __SSE4_1__
// Of two neighbours, those of a without, those of b with a sign: a0 x b0 + a1 x b1, as i16, and
// what lies beyond its limits becomes the limit.
Q32_OF_TWO(sum_products_u8_i8, maddubs_epi16);
Q32_OF_TWO(multiply_fractions_i16, mulhrs_epi16); // (a x b + 16384) / 32768, rounded down
Q32_OF_TWO(min_i32, min_epi32);                   // min(a, b)
Q32_OF_TWO(max_i32, max_epi32);                   // max(a, b)
Q32_OF_TWO(multiply_low_u32, mullo_epi32);        // a x b
#endif

// (a + b) / 2
template <class V>
inline V average_down_u8(V a, V b) {
    return subtract_u8(average_up_u8(a, b), (a ^ b) & repeat_u8<V>(1));
}

// --- bits ----------------------------------------------------------------------------------------

// &, | and ^ are the compiler's own, and so is ~ for vectors that are then combined.

// ~a. The instruction that GCC takes for ~ of 64 bytes waits for what its destination held before.
template <class V>
inline V complement(V a) {
    if constexpr (sizeof(V) == 64)
        return subtract_saturating_u8(repeat_u8<V>(0xFF), a);
    else
        return ~a;
}

// Bits of v where the mask has none.
template <class V>
inline V without(V mask, V v) {
    return v & ~mask;
}

// Whether no bit is set.
inline bool all_zero(V16 v) {
#ifdef __SSE4_1__
    return _mm_testz_si128(v, v);
#else
    return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) == 0xFFFF;
#endif
}
Q32_IN_32(inline bool all_zero(V32 v) { return _mm256_testz_si256(v, v); })
Q32_IN_64(inline bool all_zero(V64 v) { return _mm512_test_epi32_mask(v, v) == 0; })

// --- comparisons ---------------------------------------------------------------------------------

Q32_COMPARISON(equal_u8, cmpeq, epi8);     // a == b
Q32_COMPARISON(equal_u16, cmpeq, epi16);   // a == b
Q32_COMPARISON(equal_u32, cmpeq, epi32);   // a == b
Q32_COMPARISON(greater_i16, cmpgt, epi16); // a > b

// The byte of v where that of `bytes` is not 0, 0 where it is.
inline V16 keep_where_set_u8(V16 bytes, V16 v) {
    return _mm_andnot_si128(equal_u8(bytes, zero<V16>()), v);
}
Q32_IN_32(inline V32 keep_where_set_u8(V32 bytes, V32 v) {
    return _mm256_andnot_si256(equal_u8(bytes, zero<V32>()), v);
})
Q32_IN_64(inline V64 keep_where_set_u8(V64 bytes, V64 v) {
    return _mm512_maskz_mov_epi8(_mm512_test_epi8_mask(bytes, bytes), v);
})

// A bit for each byte, where a comparison is not to be a vector: vectors of 64 bytes have masks,
// which 32-bit code would take apart if they were numbers.
inline V16 mask_at_least_u8(V16 a, V16 b) { // a >= b
    return equal_u8(max_u8(a, b), a);
}
Q32_IN_32(inline V32 mask_at_least_u8(V32 a, V32 b) { return equal_u8(max_u8(a, b), a); })
Q32_IN_64(inline __mmask64 mask_at_least_u8(V64 a, V64 b) { return _mm512_cmpge_epu8_mask(a, b); })

template <class V>
inline V mask_or(V a, V b) {
    return a | b;
}
Q32_IN_64(inline __mmask64 mask_or(__mmask64 a, __mmask64 b) { return _kor_mask64(a, b); })

// The top bit of each byte, that of the first lowest.
inline std::uint16_t top_bits(V16 v) {
    return std::uint16_t(_mm_movemask_epi8(v));
}
Q32_IN_32(inline std::uint32_t top_bits(V32 v) { return std::uint32_t(_mm256_movemask_epi8(v)); })
Q32_IN_64(inline std::uint64_t top_bits(__mmask64 mask) { return mask; })

// --- choice --------------------------------------------------------------------------------------

// Bits of if_set where the mask has them, of if_clear elsewhere.
inline V16 select_bits(V16 mask, V16 if_set, V16 if_clear) {
    return (mask & if_set) | _mm_andnot_si128(mask, if_clear);
}
Q32_IN_32(inline V32 select_bits(V32 mask, V32 if_set, V32 if_clear) {
    return (mask & if_set) | _mm256_andnot_si256(mask, if_clear);
})
Q32_IN_64(inline V64 select_bits(V64 mask, V64 if_set, V64 if_clear) {
    return _mm512_ternarylogic_epi64(mask, if_set, if_clear, 0xCA);
})

#ifdef __SSE4_1__

// Bytes of if_set where those of the mask have their top bit, of if_clear elsewhere.
inline V16 select_by_top_bits_u8(V16 mask, V16 if_set, V16 if_clear) {
    return _mm_blendv_epi8(if_clear, if_set, mask);
}
Q32_IN_32(inline V32 select_by_top_bits_u8(V32 mask, V32 if_set, V32 if_clear) {
    return _mm256_blendv_epi8(if_clear, if_set, mask);
})
Q32_IN_64(inline V64 select_by_top_bits_u8(V64 mask, V64 if_set, V64 if_clear) {
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(mask), if_clear, if_set);
})

// Bytes of if_set where those of the mask are all ones, of if_clear where they are 0.
template <class V>
inline V select(V mask, V if_set, V if_clear) {
    if constexpr (sizeof(V) == 64)
        return select_bits(mask, if_set, if_clear);
    else
        return select_by_top_bits_u8(mask, if_set, if_clear);
}

// Of each lane number i of if_set where bit i of the choice is set, of if_clear elsewhere.
template <int choice>
inline V16 select_u32(V16 if_set, V16 if_clear) {
    constexpr int words = (choice & 1 ? 0x03 : 0) | (choice & 2 ? 0x0C : 0) |
                          (choice & 4 ? 0x30 : 0) | (choice & 8 ? 0xC0 : 0);
    return _mm_blend_epi16(if_clear, if_set, words);
}
#ifdef __AVX2__
template <int choice>
inline V32 select_u32(V32 if_set, V32 if_clear) {
    return _mm256_blend_epi32(if_clear, if_set, choice | choice << 4);
}
#endif

#endif

// --- interleaving --------------------------------------------------------------------------------

// a0 b0 a1 b1 ... of the low or high halves of lanes; of bytes that makes words a + 256 x b.
Q32_OF_TWO(interleave_low_u8, unpacklo_epi8);
Q32_OF_TWO(interleave_high_u8, unpackhi_epi8);
Q32_OF_TWO(interleave_low_u16, unpacklo_epi16);
Q32_OF_TWO(interleave_high_u16, unpackhi_epi16);
Q32_OF_TWO(interleave_low_u32, unpacklo_epi32);
Q32_OF_TWO(interleave_high_u32, unpackhi_epi32);
Q32_OF_TWO(interleave_low_u64, unpacklo_epi64);
Q32_OF_TWO(interleave_high_u64, unpackhi_epi64);

// What comes of the low (0) or of the high half (1) of each lane.
template <size_t half, class V>
inline V interleave_u8(V a, V b) {
    if constexpr (half == 0)
        return interleave_low_u8(a, b);
    else
        return interleave_high_u8(a, b);
}
template <size_t half, class V>
inline V interleave_u16(V a, V b) {
    if constexpr (half == 0)
        return interleave_low_u16(a, b);
    else
        return interleave_high_u16(a, b);
}
template <size_t half, class V>
inline V interleave_u32(V a, V b) {
    if constexpr (half == 0)
        return interleave_low_u32(a, b);
    else
        return interleave_high_u32(a, b);
}

// Both.
template <class V>
struct Pairs {
    V low, high;
};
template <class V>
inline Pairs<V> pairs_u8(V a, V b) {
    return {interleave_low_u8(a, b), interleave_high_u8(a, b)};
}
template <class V>
inline Pairs<V> pairs_u16(V a, V b) {
    return {interleave_low_u16(a, b), interleave_high_u16(a, b)};
}
template <class V>
inline Pairs<V> pairs_u32(V a, V b) {
    return {interleave_low_u32(a, b), interleave_high_u32(a, b)};
}

// The numbers of half of each lane in twice the width.
template <size_t half, class V>
inline V widen_u8_to_u16(V v) {
    return interleave_u8<half>(v, zero<V>());
}
template <size_t half, class V>
inline V widen_u16_to_u32(V v) {
    return interleave_u16<half>(v, zero<V>());
}

// --- packing -------------------------------------------------------------------------------------

// Each lane of a, then that of b. What lies beyond the limits of the narrower number becomes the
// limit.
Q32_OF_TWO(pack_i16_to_u8_in_lanes, packus_epi16);
Q32_OF_TWO(pack_i16_to_i8_in_lanes, packs_epi16);
Q32_OF_TWO(pack_i32_to_i16_in_lanes, packs_epi32);
#ifdef __SSE4_1__
Q32_OF_TWO(pack_i32_to_u16_in_lanes, packus_epi32);
#endif

// Of each lane of a, then of b, the first and third number.
inline V16 even_u32_in_lanes(V16 a, V16 b) {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0x88));
}
Q32_IN_32(inline V32 even_u32_in_lanes(V32 a, V32 b) {
    return _mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0x88));
})
Q32_IN_64(inline V64 even_u32_in_lanes(V64 a, V64 b) {
    return _mm512_castps_si512(
        _mm512_shuffle_ps(_mm512_castsi512_ps(a), _mm512_castsi512_ps(b), 0x88));
})

// What packing in lanes gave, all of a and then all of b.
inline V16 packed_in_order(V16 v) {
    return v;
}
Q32_IN_32(inline V32 packed_in_order(V32 v) {
    return _mm256_permute4x64_epi64(v, _MM_SHUFFLE(3, 1, 2, 0));
})
Q32_IN_64(inline V64 packed_in_order(V64 v) {
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), v);
})

template <class V>
inline V pack_i16_to_u8_in_order(V a, V b) {
    return packed_in_order(pack_i16_to_u8_in_lanes(a, b));
}

// The other way: a vector in the order of memory, as interleaving wants it, so that the low pairs
// are those of its first half.
inline V16 dealt_to_lanes(V16 v) {
    return v;
}
Q32_IN_32(inline V32 dealt_to_lanes(V32 v) {
    return _mm256_permute4x64_epi64(v, _MM_SHUFFLE(3, 1, 2, 0));
})
Q32_IN_64(inline V64 dealt_to_lanes(V64 v) {
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7), v);
})

// --- shuffles ------------------------------------------------------------------------------------

// What one choice of bytes can reach: a lane, or all 64 bytes where the processor can permute them.
template <class V>
inline constexpr int reach = sizeof(V) == 64 ? 64 : 16;

// Number k of each lane, in all of the lane.
template <int k>
inline V16 repeat_u32_in_lanes(V16 v) {
    return _mm_shuffle_epi32(v, k * 0x55);
}
#ifdef __AVX2__
template <int k>
inline V32 repeat_u32_in_lanes(V32 v) {
    return _mm256_shuffle_epi32(v, k * 0x55);
}
#endif

#ifdef __SSE4_1__

// Byte i of a lane is byte indices[i] % 16 of that lane of v, and 0 where bit 7 of the index is
// set.
Q32_OF_TWO(shuffle_u8, shuffle_epi8);

// A shuffle index that gives 0.
inline constexpr uint8_t nothing = 0x80;

// Byte i is byte indices[i] within reach of it.
template <class V>
inline V permute_u8(V v, V indices) {
#ifdef __AVX512VBMI__
    if constexpr (sizeof(V) == 64)
        return _mm512_permutexvar_epi8(indices, v);
    else
#endif
        return shuffle_u8(v, indices);
}

#endif

// --- floats --------------------------------------------------------------------------------------

// As many as the vector has double words.
inline __m128 float_of_i32(V16 v) {
    return _mm_cvtepi32_ps(v);
}
inline V16 i32_of_float(__m128 v) { // truncated
    return _mm_cvttps_epi32(v);
}
inline __m128 multiply_float(__m128 a, __m128 b) {
    return _mm_mul_ps(a, b);
}
inline __m128 divide_float(__m128 a, __m128 b) {
    return _mm_div_ps(a, b);
}
inline __m128 divide_float(float a, __m128 b) {
    return _mm_div_ps(_mm_set1_ps(a), b);
}
#ifdef __AVX2__
inline __m256 float_of_i32(V32 v) {
    return _mm256_cvtepi32_ps(v);
}
inline V32 i32_of_float(__m256 v) {
    return _mm256_cvttps_epi32(v);
}
inline __m256 multiply_float(__m256 a, __m256 b) {
    return _mm256_mul_ps(a, b);
}
inline __m256 divide_float(__m256 a, __m256 b) {
    return _mm256_div_ps(a, b);
}
inline __m256 divide_float(float a, __m256 b) {
    return _mm256_div_ps(_mm256_set1_ps(a), b);
}
#endif
#ifdef __AVX512VBMI__
inline __m512 float_of_i32(V64 v) {
    return _mm512_cvtepi32_ps(v);
}
inline V64 i32_of_float(__m512 v) {
    return _mm512_cvttps_epi32(v);
}
inline __m512 divide_float(__m512 a, __m512 b) {
    return _mm512_div_ps(a, b);
}
#endif

// a / b, truncated, of i32 below 2^24 of which neither is negative and b is not 0; exact unless the
// true quotient comes within a 2^-22th of the next whole number.
template <class V>
inline V quotient_i32(V a, V b) {
    return i32_of_float(divide_float(float_of_i32(a), float_of_i32(b)));
}

#undef Q32_OF_TWO
#undef Q32_SHIFT
#undef Q32_COMPARISON
#undef Q32_IN_32
#undef Q32_IN_64

} // namespace
} // namespace simd
} // namespace q32
