// Where the bytes of pixels and records lie in memory, and where in vectors: a vector of bytes for
// each channel, a vector of double words for each field of a quarter of the records.
//
// A lane has sixteen pixels in a row. Records decide their order in it: when fields are blended
// into memory order, word p of field f belongs to record (f - p) mod 4 of its four. Channels have
// the order that suits field 0, so that it needs no shuffle at all, and the bytes that the others
// are made from are turned into theirs before they widen.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/hexcone.h"

namespace q32::merge {
namespace {

// --- order ---------------------------------------------------------------------------------------

// The pixel of a channel's byte, and the byte of a pixel.
constexpr int in_order(int i) {
    return i / 4 * 4 + (4 - i % 4) % 4;
}

// Bytes of a channel's order to a field's.
template <int field, class V>
V turned(V bytes) {
    static constexpr LaneBytes indices =
        lane_by([](int i) { return i / 4 * 4 + (i + 4 - field) % 4; });
    return field == 0 ? bytes : shuffle_u8(bytes, as_vector<V>(indices));
}

// Words of a field's order to the channels'.
template <int field, class V>
V turned_back(V words) {
    static constexpr LaneBytes indices =
        lane_by([](int i) { return i / 8 * 8 + (i % 8 + 2 * field) % 8; });
    return field == 0 ? words : shuffle_u8(words, as_vector<V>(indices));
}

// --- pixels --------------------------------------------------------------------------------------

// The places where one of three vectors of pixels in memory has a channel.
constexpr LaneBytes places_of(int channel, int vector) {
    return lane_by([=](int p) { return (16 * vector + p) % 3 == channel ? 0xFF : 0; });
}

// One channel, at its places in them all, of three vectors in memory.
template <int channel, class V>
V channel_in(const V (&v)[3]) {
    static constexpr LaneBytes from_1 = places_of(channel, 1), from_2 = places_of(channel, 2);
    return select(as_vector<V>(from_2), v[2], select(as_vector<V>(from_1), v[1], v[0]));
}

// And back.
template <int vector, class V>
V vector_of(const V (&channel)[3]) {
    static constexpr LaneBytes from_1 = places_of(1, vector), from_2 = places_of(2, vector);
    return select(as_vector<V>(from_2), channel[2],
                  select(as_vector<V>(from_1), channel[1], channel[0]));
}

// A channel's bytes between their places and the channels' order.
template <int channel, class V>
V from_places(V v) {
    static constexpr LaneBytes indices =
        lane_by([](int i) { return (3 * in_order(i) + channel) % 16; });
    return shuffle_u8(v, as_vector<V>(indices));
}

template <int channel, class V>
V to_places(V v) {
    static constexpr LaneBytes indices = lane_by([](int p) {
        int at = p;
        while (at % 3 != channel)
            at += 16;
        return in_order(at / 3);
    });
    return shuffle_u8(v, as_vector<V>(indices));
}

template <class V>
Channels<V> load_pixels(const uint8_t *source) {
    const V v[3] = {load_lanes<V>(source, 48), load_lanes<V>(source + 16, 48),
                    load_lanes<V>(source + 32, 48)};
    return {from_places<0>(channel_in<0>(v)), from_places<1>(channel_in<1>(v)),
            from_places<2>(channel_in<2>(v))};
}

template <class V>
void store_pixels(uint8_t *destination, const Channels<V> &pixels) {
    const V v[3] = {to_places<0>(pixels.red), to_places<1>(pixels.green),
                    to_places<2>(pixels.blue)};
    store_lanes(destination, 48, vector_of<0>(v));
    store_lanes(destination + 16, 48, vector_of<1>(v));
    store_lanes(destination + 32, 48, vector_of<2>(v));
}

// --- records -------------------------------------------------------------------------------------

// Each lane's sixteen records are twelve times 16 bytes. Quarter q is three of these.
inline constexpr size_t lane_records = 16 * record_bytes;

// The words of a vector that hold a field.
constexpr int words_with(int field, int vector) {
    int words = 0;
    for (int p = 0; p < 4; ++p)
        words |= int((4 * vector + p) % 3 == field) << p;
    return words;
}

template <int field, class V>
V field_of(const V (&v)[3]) {
    return select_u32<words_with(field, 2)>(v[2], select_u32<words_with(field, 1)>(v[1], v[0]));
}

template <int vector, class V>
V mixed(const V (&field)[3]) {
    return select_u32<words_with(2, vector)>(field[2],
                                             select_u32<words_with(1, vector)>(field[1], field[0]));
}

template <int quarter, class V>
Fields<V> load_fields(const uint8_t *source) {
    source += quarter * lane_records / 4;
    const V v[3] = {load_lanes<V>(source, lane_records), load_lanes<V>(source + 16, lane_records),
                    load_lanes<V>(source + 32, lane_records)};
    return {{field_of<0>(v), field_of<1>(v), field_of<2>(v)}};
}

// Two vectors side by side, each lane's 16 bytes of both as one piece: half the stores.
template <class Stores>
inline void store_side_by_side(uint8_t *destination, V16 a, V16 b) {
    Stores::store(destination, a);
    Stores::store(destination + 16, b);
}

#ifdef __AVX2__
template <class Stores>
inline void store_side_by_side(uint8_t *destination, V32 a, V32 b) {
    Stores::store(destination, _mm256_inserti128_si256(a, lane_of<0>(b), 1));
    Stores::store(destination + lane_records, _mm256_permute2x128_si256(a, b, 0x31));
}
#endif

template <class Stores, int half, class V>
void store_fields(uint8_t *destination, const Fields<V> &first, const Fields<V> &second) {
    destination += half * lane_records / 2;
    store_side_by_side<Stores>(destination, mixed<0>(first.field), mixed<1>(first.field));
    store_side_by_side<Stores>(destination + 32, mixed<2>(first.field), mixed<0>(second.field));
    store_side_by_side<Stores>(destination + 64, mixed<1>(second.field), mixed<2>(second.field));
}

} // namespace
} // namespace q32::merge
