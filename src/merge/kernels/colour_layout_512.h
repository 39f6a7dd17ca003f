// The layout of colour_layout.h for vectors of 64 bytes, whose permutations reach every byte of two
// vectors: channels have the order that widens to records in memory order, and nothing is turned.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/hexcone.h"

namespace q32::merge {
namespace {

// --- helpers -------------------------------------------------------------------------------------

// What a permutation of three vectors takes for each of its elements, in bytes or double words:
// which element of the first two, or, with the top bit set, which one of the third.
template <class Element>
struct alignas(64) Picks {
    static constexpr int count = 64 / sizeof(Element);
    static constexpr Element of_third = Element(1) << (8 * sizeof(Element) - 1);

    Element at[count];

    constexpr void set(int i, int vector, int element) {
        at[i] =
            vector == 2 ? Element(of_third | Element(element)) : Element(vector * count + element);
    }
    V64 vector() const { return _mm512_load_si512(at); }
};

using BytePicks = Picks<std::uint8_t>;
using WordPicks = Picks<std::uint32_t>;

inline V64 pick(const BytePicks &picks, V64 first, V64 second, V64 third) {
    const V64 indices = picks.vector();
    return _mm512_mask_permutexvar_epi8(_mm512_permutex2var_epi8(first, indices, second),
                                        _mm512_movepi8_mask(indices), indices, third);
}

inline V64 pick(const WordPicks &picks, V64 first, V64 second, V64 third) {
    const V64 indices = picks.vector();
    return _mm512_mask_permutexvar_epi32(_mm512_permutex2var_epi32(first, indices, second),
                                         _mm512_movepi32_mask(indices), indices, third);
}

// Element i of the result is element place(i) of three vectors in a row.
template <class P, class Place>
constexpr P picks_in_a_row(Place place) {
    P picks{};
    for (int i = 0; i < P::count; ++i)
        picks.set(i, place(i) / P::count, place(i) % P::count);
    return picks;
}

// Element i of the result, number n x i + first of the elements of three vectors in turn.
template <class P, class Position>
constexpr P picks_in_turn(int vector, Position position) {
    P picks{};
    for (int i = 0; i < P::count; ++i) {
        const int at = P::count * vector + i;
        picks.set(i, at % 3, position(at / 3));
    }
    return picks;
}

// The pixel of a channel's byte, and the byte of a pixel.
constexpr int in_memory_order(int i) {
    return i / 16 * 4 + i % 16 / 4 * 16 + i % 4;
}

template <int field>
V64 turned(V64 bytes) {
    return bytes;
}

template <int field>
V64 turned_back(V64 words) {
    return words;
}

// --- pixels --------------------------------------------------------------------------------------

template <int channel>
V64 channel_of_pixels(V64 a, V64 b, V64 c) {
    static constexpr auto picks =
        picks_in_a_row<BytePicks>([](int i) { return 3 * in_memory_order(i) + channel; });
    return pick(picks, a, b, c);
}

template <int vector>
V64 vector_of_pixels(const Channels<V64> &pixels) {
    static constexpr auto picks = picks_in_turn<BytePicks>(vector, in_memory_order);
    return pick(picks, pixels.red, pixels.green, pixels.blue);
}

template <class V>
requires(sizeof(V) == 64) Channels<V> load_pixels(const uint8_t *source) {
    const V a = load<V>(source), b = load<V>(source + 64), c = load<V>(source + 128);
    return {channel_of_pixels<0>(a, b, c), channel_of_pixels<1>(a, b, c),
            channel_of_pixels<2>(a, b, c)};
}

inline void store_pixels(uint8_t *destination, const Channels<V64> &pixels) {
    store(destination, vector_of_pixels<0>(pixels));
    store(destination + 64, vector_of_pixels<1>(pixels));
    store(destination + 128, vector_of_pixels<2>(pixels));
}

// --- records -------------------------------------------------------------------------------------

template <int field>
V64 field_of_records(V64 a, V64 b, V64 c) {
    static constexpr auto picks = picks_in_a_row<WordPicks>([](int i) { return 3 * i + field; });
    return pick(picks, a, b, c);
}

template <int vector>
V64 vector_of_records(const Fields<V64> &fields) {
    static constexpr auto picks = picks_in_turn<WordPicks>(vector, [](int i) { return i; });
    return pick(picks, fields.field[0], fields.field[1], fields.field[2]);
}

template <int quarter, class V>
requires(sizeof(V) == 64) Fields<V> load_fields(const uint8_t *source) {
    source += quarter * 3 * sizeof(V);
    const V a = load<V>(source), b = load<V>(source + 64), c = load<V>(source + 128);
    return {
        {field_of_records<0>(a, b, c), field_of_records<1>(a, b, c), field_of_records<2>(a, b, c)}};
}

template <class Stores>
void store_quarter(uint8_t *destination, const Fields<V64> &fields) {
    Stores::store(destination, vector_of_records<0>(fields));
    Stores::store(destination + 64, vector_of_records<1>(fields));
    Stores::store(destination + 128, vector_of_records<2>(fields));
}

template <class Stores, int half>
void store_fields(uint8_t *destination, const Fields<V64> &first, const Fields<V64> &second) {
    store_quarter<Stores>(destination + (2 * half) * 3 * sizeof(V64), first);
    store_quarter<Stores>(destination + (2 * half + 1) * 3 * sizeof(V64), second);
}

} // namespace
} // namespace q32::merge
