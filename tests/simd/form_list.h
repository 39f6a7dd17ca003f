// The list of forms, which every instruction set's file makes for its own vectors.
//
// Private to the file that includes it, as simd/vectors.h.
#pragma once

#include "simd/byte_table.h"
#include "simd/operations.h"
#include "tests/simd/forms.h"

#include <cstring>

namespace q32::test {
namespace {

template <class Result>
void put(std::uint8_t *at, const Result &result) {
    std::memcpy(at, &result, sizeof result);
}

template <class V>
void put_pairs(std::uint8_t *at, const Pairs<V> &pairs) {
    store(at, pairs.low);
    store(at + sizeof(V), pairs.high);
}

template <class V>
V odd_bytes_of(V v) {
    return equal_u8(v & repeat_u8<V>(1), repeat_u8<V>(1));
}

#define FORM(name, result)                                                                         \
    forms.push_back({name, sizeof(V), [](std::uint8_t *to, const Operands &operands) {             \
                         [[maybe_unused]] const V a = load<V>(operands.a),                         \
                                                  b = load<V>(operands.b),                         \
                                                  c = load<V>(operands.c);                         \
                         result;                                                                   \
                     }})
#define ONE(operation)   FORM(#operation, store(to, operation(a)))
#define TWO(operation)   FORM(#operation, store(to, operation(a, b)))
#define THREE(operation) FORM(#operation, store(to, operation(a, b, c)))

template <class V>
void add_memory_forms(std::vector<Form> &forms) {
    FORM("load and store", store(to, a));
    FORM("zero", store(to, zero<V>()));
    FORM("repeat_u8", store(to, repeat_u8<V>(operands.a[0] - 256)));
    FORM("repeat_u16", store(to, repeat_u16<V>(operands.a[0] + 256 * operands.a[1] - 65536)));
    FORM("repeat_u32", store(to, repeat_u32<V>(int(0x7F * 0x1000000u) + operands.a[0])));
    FORM("repeat_lane", store(to, repeat_lane<V>(load_16(operands.a))));
    FORM("load_8", store(to, repeat_lane<V>(load_8(operands.a))));
    FORM("store_8", store_8(to, load_16(operands.a)));
    FORM("as_vector of a lane",
         static constexpr auto table = lane_by([](int i) { return 3 * i + 1; });
         store(to, as_vector<V>(table)));
    FORM("as_vector", static constexpr auto table = vector_by<V>([](int i) { return 3 * i + 1; });
         store(to, as_vector<V>(table)));
    if constexpr (sizeof(V) <= 32) {
        FORM("load_lanes", store(to, load_lanes<V>(operands.a, 48)));
        FORM("store_lanes", store_lanes(to, 48, a));
        FORM("join_lanes", store(to, join_lanes<V>(load_16(operands.b), load_16(operands.a))));
        FORM("lane_of", store(to, lane_of<lanes<V> - 1>(a)));
    }
}

template <class V>
void add_arithmetic_forms(std::vector<Form> &forms) {
    TWO(add_u8);
    TWO(add_u16);
    TWO(add_u32);
    TWO(add_saturating_u8);
    TWO(subtract_u8);
    TWO(subtract_u16);
    TWO(subtract_u32);
    TWO(subtract_saturating_u8);
    TWO(average_up_u8);
    TWO(average_down_u8);
    TWO(min_u8);
    TWO(max_u8);
    TWO(min_i16);
    TWO(max_i16);
    TWO(multiply_low_u16);
    TWO(multiply_high_u16);
    TWO(multiply_high_i16);
    TWO(sum_products_i16);
    FORM("shift_left_u16", store(to, shift_left_u16<5>(a)));
    FORM("shift_right_u16", store(to, shift_right_u16<5>(a)));
    FORM("shift_right_i16", store(to, shift_right_i16<5>(a)));
    FORM("shift_right_i32", store(to, shift_right_i32<5>(a)));
    FORM("shift_left_u16 by a vector", store(to, shift_left_u16(a, _mm_cvtsi32_si128(9))));
    FORM("shift_right_u16 by a vector", store(to, shift_right_u16(a, _mm_cvtsi32_si128(9))));
    FORM("shift_right_i16 by a vector", store(to, shift_right_i16(a, _mm_cvtsi32_si128(9))));
    FORM("shift_right_i32 by a vector", store(to, shift_right_i32(a, _mm_cvtsi32_si128(9))));
    FORM("quotient_i32", const V bits = repeat_u32<V>(0x3FFFFF);
         store(to, quotient_i32(a & bits, (b & bits) | repeat_u32<V>(1))));
#ifdef __SSE4_1__
    TWO(sum_products_u8_i8);
    TWO(multiply_fractions_i16);
    TWO(min_i32);
    TWO(max_i32);
    TWO(multiply_low_u32);
#endif
}

template <class V>
void add_choice_forms(std::vector<Form> &forms) {
    ONE(complement);
    TWO(without);
    FORM("all_zero", put(to, all_zero(equal_u8(a, b))));
    TWO(equal_u8);
    TWO(equal_u16);
    TWO(equal_u32);
    TWO(greater_i16);
    TWO(keep_where_set_u8);
    FORM("masks", put(to, top_bits(mask_or(mask_at_least_u8(a, b), mask_at_least_u8(a, c)))));
    THREE(select_bits);
#ifdef __SSE4_1__
    THREE(select_by_top_bits_u8);
    FORM("select", store(to, select(odd_bytes_of(a), b, c)));
    if constexpr (sizeof(V) <= 32)
        FORM("select_u32", store(to, select_u32<0b1001>(a, b)));
#endif
    if constexpr (sizeof(V) <= 32)
        FORM("top_bits", put(to, top_bits(a)));
}

template <class V>
void add_order_forms(std::vector<Form> &forms) {
    FORM("pairs_u8", put_pairs(to, pairs_u8(a, b)));
    FORM("pairs_u16", put_pairs(to, pairs_u16(a, b)));
    FORM("pairs_u32", put_pairs(to, pairs_u32(a, b)));
    FORM("interleave_u8", put_pairs<V>(to, {interleave_u8<0>(a, b), interleave_u8<1>(a, b)}));
    FORM("interleave_u16", put_pairs<V>(to, {interleave_u16<0>(a, b), interleave_u16<1>(a, b)}));
    FORM("interleave_u32", put_pairs<V>(to, {interleave_u32<0>(a, b), interleave_u32<1>(a, b)}));
    FORM("interleave_u64", put_pairs<V>(to, {interleave_low_u64(a, b), interleave_high_u64(a, b)}));
    FORM("widen_u8_to_u16", put_pairs<V>(to, {widen_u8_to_u16<0>(a), widen_u8_to_u16<1>(a)}));
    FORM("widen_u16_to_u32", put_pairs<V>(to, {widen_u16_to_u32<0>(a), widen_u16_to_u32<1>(a)}));
    TWO(pack_i16_to_u8_in_lanes);
    TWO(pack_i16_to_i8_in_lanes);
    TWO(pack_i32_to_i16_in_lanes);
    TWO(pack_i16_to_u8_in_order);
    TWO(even_u32_in_lanes);
    FORM("dealt_to_lanes", put_pairs(to, pairs_u8(dealt_to_lanes(a), dealt_to_lanes(b))));
    if constexpr (sizeof(V) <= 32)
        FORM("repeat_u32_in_lanes", store(to, repeat_u32_in_lanes<2>(a)));
#ifdef __SSE4_1__
    TWO(pack_i32_to_u16_in_lanes);
    TWO(shuffle_u8);
    // cppcheck-suppress compareBoolExpressionWithInt
    FORM("permute_u8", store(to, permute_u8(a, b & repeat_u8<V>(reach<V> - 1))));
#endif
}

template <class V>
void add_forms(std::vector<Form> &forms) {
    add_memory_forms<V>(forms);
    add_arithmetic_forms<V>(forms);
    add_choice_forms<V>(forms);
    add_order_forms<V>(forms);
}

#undef FORM
#undef ONE
#undef TWO
#undef THREE

inline std::vector<Form> all_forms() {
    std::vector<Form> forms;
    add_forms<V16>(forms);
#ifdef __AVX2__
    add_forms<V32>(forms);
#endif
#ifdef __AVX512VBMI__
    add_forms<V64>(forms);
#endif
    return forms;
}

} // namespace
} // namespace q32::test
