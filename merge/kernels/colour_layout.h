// Where the bytes of pixels and records lie in memory, and where in vectors: a vector for each
// channel, a vector of double words for each field of records.
//
// Channels have their pixels in an order that widening unravels: bytes 4k to 4k + 3 of the lanes,
// one lane after the other, are consecutive pixels, and with them the double words that they widen
// to. With one lane this is the order of the pixels.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/hexcone.h"

namespace q32::merge {
namespace {

// --- helpers -------------------------------------------------------------------------------------

constexpr uint8_t nothing = 0x80; // a shuffle index that gives 0

template <class Index>
constexpr LaneBytes lane_by(Index index) {
    LaneBytes bytes{};
    for (int i = 0; i < 16; ++i)
        bytes.at[i] = uint8_t(index(i));
    return bytes;
}

// Four pixels from byte `begin` on, sorted by channel.
constexpr LaneBytes sorted_from(int begin) {
    return lane_by([=](int i) { return i < 12 ? begin + 3 * (i % 4) + i / 4 : nothing; });
}

// And back, ending at byte `end`, where the next vector begins anew.
constexpr LaneBytes mixed_from(int begin) {
    return lane_by([=](int i) {
        const int at = (i - begin + 16) % 16;
        return at < 12 ? 4 * (at % 3) + at / 3 : nothing;
    });
}

// Of the double words of n records of three fields: word p of vector j holds field
// (n x j + p) mod 3.
constexpr int vector_of(int n, int field, int p) {
    for (int j = 0; j < 3; ++j)
        if ((n * j + p) % 3 == field)
            return j;
    return -1;
}

// The words of the vectors 1 to 3 that hold a field.
constexpr int words_with(int n, int field, int vector) {
    int words = 0;
    for (int p = 0; p < n; ++p)
        words |= int(vector_of(n, field, p) == vector) << p;
    return words;
}

// Which record the word belongs to.
constexpr int record_at(int n, int field, int p) {
    return (n * vector_of(n, field, p) + p) / 3;
}

template <class V>
struct Fields {
    V field[3]; // double words
};

template <class V>
Pixels<V> load_pixels(const uint8_t *source);

// --- words among words ---------------------------------------------------------------------------

template <int words>
V16 choose_dwords(V16 a, V16 b) {
    return rows::choose_dwords<words>(a, b);
}
template <int p0, int p1, int p2, int p3>
V16 join_dwords(V16 a, V16 b) {
    return _mm_castps_si128(
        _mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), p0 | p1 << 2 | p2 << 4 | p3 << 6));
}
inline V16 interleave_low_dwords(V16 a, V16 b) {
    return _mm_unpacklo_epi32(a, b);
}
inline V16 interleave_high_dwords(V16 a, V16 b) {
    return _mm_unpackhi_epi32(a, b);
}

// Words of records to the places of a field in memory order, and back.
template <int field>
V16 to_places(V16 v) {
    return _mm_shuffle_epi32(v, record_at(4, field, 0) | record_at(4, field, 1) << 2 |
                                    record_at(4, field, 2) << 4 | record_at(4, field, 3) << 6);
}
template <int field>
V16 from_places(V16 v) {
    return _mm_shuffle_epi32(v, (field + 0) % 4 | (field + 3) % 4 << 2 | (field + 6) % 4 << 4 |
                                    (field + 9) % 4 << 6);
}

#ifdef __AVX2__

template <int words>
V32 choose_dwords(V32 a, V32 b) {
    return _mm256_blend_epi32(a, b, words);
}
template <int p0, int p1, int p2, int p3>
V32 join_dwords(V32 a, V32 b) {
    return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b),
                                                 p0 | p1 << 2 | p2 << 4 | p3 << 6));
}
inline V32 interleave_low_dwords(V32 a, V32 b) {
    return _mm256_unpacklo_epi32(a, b);
}
inline V32 interleave_high_dwords(V32 a, V32 b) {
    return _mm256_unpackhi_epi32(a, b);
}

struct alignas(32) EightWords {
    int at[8];

    V32 vector() const { return _mm256_load_si256(reinterpret_cast<const V32 *>(at)); }
};

template <class Index>
constexpr EightWords words_by(Index index) {
    EightWords words{};
    for (int p = 0; p < 8; ++p)
        words.at[p] = index(p);
    return words;
}

template <int field>
V32 to_places(V32 v) {
    static constexpr EightWords order = words_by([](int p) { return record_at(8, field, p); });
    return _mm256_permutevar8x32_epi32(v, order.vector());
}
template <int field>
V32 from_places(V32 v) {
    static constexpr EightWords order = words_by([](int i) { return (3 * i + field) % 8; });
    return _mm256_permutevar8x32_epi32(v, order.vector());
}

#endif

// --- pixels --------------------------------------------------------------------------------------

// Four groups of pixels, in each lane four sorted by channel, to one vector for each channel.
template <class V>
Pixels<V> channels_of(const V (&group)[4]) {
    const V red_green_01 = interleave_low_dwords(group[0], group[1]);
    const V red_green_23 = interleave_low_dwords(group[2], group[3]);
    const V blue_01 = interleave_high_dwords(group[0], group[1]);
    const V blue_23 = interleave_high_dwords(group[2], group[3]);
    return {join_dwords<0, 1, 0, 1>(red_green_01, red_green_23),
            join_dwords<2, 3, 2, 3>(red_green_01, red_green_23),
            join_dwords<0, 1, 0, 1>(blue_01, blue_23)};
}

template <class V>
struct Groups {
    V group[4];
};

template <class V>
Groups<V> groups_of(const Pixels<V> &pixels) {
    const V red_green_01 = interleave_low_dwords(pixels.red, pixels.green);
    const V red_green_23 = interleave_high_dwords(pixels.red, pixels.green);
    return {{join_dwords<0, 1, 0, 0>(red_green_01, pixels.blue),
             join_dwords<2, 3, 1, 1>(red_green_01, pixels.blue),
             join_dwords<0, 1, 2, 2>(red_green_23, pixels.blue),
             join_dwords<2, 3, 3, 3>(red_green_23, pixels.blue)}};
}

// The last load begins early so as to end with the pixels.
template <>
inline Pixels<V16> load_pixels<V16>(const uint8_t *source) {
    static constexpr LaneBytes from_0 = sorted_from(0), from_4 = sorted_from(4);
    const V16 begin = from_0.vector<V16>();
    return channels_of<V16>({shuffle(rows::load_16(source), begin),
                             shuffle(rows::load_16(source + 12), begin),
                             shuffle(rows::load_16(source + 24), begin),
                             shuffle(rows::load_16(source + 32), from_4.vector<V16>())});
}

inline void store_pixels(uint8_t *destination, const Pixels<V16> &pixels) {
    static constexpr LaneBytes at_0 = mixed_from(0), at_12 = mixed_from(12), at_8 = mixed_from(8),
                               at_4 = mixed_from(4);
    const Groups<V16> groups = groups_of(pixels);
    const V16 a = shuffle(groups.group[0], at_0.vector<V16>());
    const V16 b = shuffle(groups.group[1], at_12.vector<V16>());
    const V16 c = shuffle(groups.group[2], at_8.vector<V16>());
    const V16 d = shuffle(groups.group[3], at_4.vector<V16>());
    store(destination, choose_dwords<0b1000>(a, b));
    store(destination + 16, choose_dwords<0b1100>(b, c));
    store(destination + 32, choose_dwords<0b1110>(c, d));
}

#ifdef __AVX2__

// The second lane's four pixels are loaded four bytes early so as to end with the pixels.
template <>
inline Pixels<V32> load_pixels<V32>(const uint8_t *source) {
    static constexpr LaneBytes from_0 = sorted_from(0), from_4 = sorted_from(4);
    const V32 sorted = _mm256_inserti128_si256(_mm256_castsi128_si256(from_0.vector<V16>()),
                                               from_4.vector<V16>(), 1);
    return channels_of<V32>({shuffle(rows::load_lanes<V32>(source, 8), sorted),
                             shuffle(rows::load_lanes<V32>(source + 24, 8), sorted),
                             shuffle(rows::load_lanes<V32>(source + 48, 8), sorted),
                             shuffle(rows::load_lanes<V32>(source + 72, 8), sorted)});
}

// The words of a group's pixels, three in each lane, turned to where they go.
template <int begin>
V32 turned(V32 group) {
    static constexpr LaneBytes at_0 = mixed_from(0);
    static constexpr EightWords order = words_by([](int p) {
        const int at = (p - begin + 8) % 8;
        return at < 3 ? at : at + 1;
    });
    return _mm256_permutevar8x32_epi32(shuffle(group, at_0.vector<V32>()), order.vector());
}

inline void store_pixels(uint8_t *destination, const Pixels<V32> &pixels) {
    const Groups<V32> groups = groups_of(pixels);
    const V32 a = turned<0>(groups.group[0]), b = turned<6>(groups.group[1]);
    const V32 c = turned<4>(groups.group[2]), d = turned<2>(groups.group[3]);
    store(destination, choose_dwords<0b11000000>(a, b));
    store(destination + 32, choose_dwords<0b11110000>(b, c));
    store(destination + 64, choose_dwords<0b11111100>(c, d));
}

#endif

// --- records -------------------------------------------------------------------------------------

template <class V>
inline constexpr int dwords_in = int(sizeof(V) / 4);

// Vector j of three in memory, from three fields at their places.
template <int j, class V>
V mixed(const V (&placed)[3]) {
    return choose_dwords<words_with(dwords_in<V>, 2, j)>(
        choose_dwords<words_with(dwords_in<V>, 1, j)>(placed[0], placed[1]), placed[2]);
}

// A field at its places, from three vectors in memory.
template <int field, class V>
V placed(const V (&vectors)[3]) {
    return choose_dwords<words_with(dwords_in<V>, field, 2)>(
        choose_dwords<words_with(dwords_in<V>, field, 1)>(vectors[0], vectors[1]), vectors[2]);
}

template <class V>
void store_fields(uint8_t *destination, V first, V second, V third) {
    const V at_places[3] = {to_places<0>(first), to_places<1>(second), to_places<2>(third)};
    store(destination, mixed<0>(at_places));
    store(destination + sizeof(V), mixed<1>(at_places));
    store(destination + 2 * sizeof(V), mixed<2>(at_places));
}

template <class V>
Fields<V> load_fields(const uint8_t *source) {
    const V vectors[3] = {load<V>(source), load<V>(source + sizeof(V)),
                          load<V>(source + 2 * sizeof(V))};
    return {{from_places<0>(placed<0>(vectors)), from_places<1>(placed<1>(vectors)),
             from_places<2>(placed<2>(vectors))}};
}

} // namespace
} // namespace q32::merge
