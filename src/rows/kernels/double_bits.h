// Every bit of a vector twice.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/byte_table.h"
#include "simd/operations.h"

namespace q32::rows {
namespace {

// Bytes of four bits to bytes with each of them twice.
template <class V>
inline V double_nibbles(V nibbles) {
#ifdef __SSE4_1__
    static constexpr LaneBytes doubled = {0x00, 0x03, 0x0C, 0x0F, 0x30, 0x33, 0x3C, 0x3F,
                                          0xC0, 0xC3, 0xCC, 0xCF, 0xF0, 0xF3, 0xFC, 0xFF};
    return shuffle_u8(as_vector<V>(doubled), nibbles);
#else
    const V pairs = (nibbles | shift_left_u16<2>(nibbles)) & repeat_u8<V>(0x33);
    const V singles = (pairs | shift_left_u16<1>(pairs)) & repeat_u8<V>(0x55);
    return singles | shift_left_u16<1>(singles);
#endif
}

// The first and the second half of each lane, as lanes.
template <class V>
inline Pairs<V> double_bits(V bits) {
    const V low_nibble = repeat_u8<V>(0x0F);
    return pairs_u8(double_nibbles<V>(shift_right_u16<4>(bits) & low_nibble),
                    double_nibbles<V>(bits & low_nibble));
}

} // namespace
} // namespace q32::rows
