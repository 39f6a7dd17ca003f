// A constant table of bytes that becomes a vector: places for shuffles, masks, sets of bits.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/vectors.h"

namespace q32 {
inline namespace simd {
namespace {

template <size_t size>
struct alignas(size) ByteTable {
    uint8_t at[size];
};

// All of it; a table of 16 bytes in every lane.
template <class V, size_t size>
inline V as_vector(const ByteTable<size> &table) {
    static_assert(size == 16 || size == sizeof(V));
    if constexpr (size == sizeof(V))
        return load<V>(table.at);
    else
        return repeat_lane<V>(load_16(table.at));
}

using LaneBytes = ByteTable<16>;

template <class V>
using VectorBytes = ByteTable<sizeof(V)>;

// Byte i is rule(i).
template <size_t size, class Rule>
constexpr ByteTable<size> bytes_by(Rule rule) {
    ByteTable<size> bytes{};
    for (int i = 0; i < int(size); ++i)
        bytes.at[i] = uint8_t(rule(i));
    return bytes;
}

template <class Rule>
constexpr LaneBytes lane_by(Rule rule) {
    return bytes_by<16>(rule);
}

template <class V, class Rule>
constexpr VectorBytes<V> vector_by(Rule rule) {
    return bytes_by<sizeof(V)>(rule);
}

} // namespace
} // namespace simd
} // namespace q32
