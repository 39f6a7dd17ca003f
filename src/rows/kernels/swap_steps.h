// First and third byte of 24-bit pixels swapped by the byte shuffle, which moves nothing from lane
// to lane. Pixels that lie across two lanes have one byte in each that must go to the other.
//
// Memory is read and written in its order, a whole vector at a time: lanes that are 48 bytes apart,
// each with pixels of its own, cost fewer shuffles, but out of the second cache they came slower
// than single lanes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/byte_table.h"
#include "simd/operations.h"

namespace q32::rows {
namespace {

// Where byte `at` of a run comes from.
constexpr int swapped(int at) {
    return at + 2 - 2 * (at % 3);
}

// What output lane `to` of a run takes from input lane `from`.
constexpr LaneBytes swap_indices(int to, int from) {
    return lane_by([=](int i) {
        const int wanted = swapped(16 * to + i);
        return wanted / 16 == from ? wanted % 16 : nothing;
    });
}

template <class V>
struct SwapRedBlue;

template <>
struct SwapRedBlue<V16> {
    static constexpr size_t units = 16, source_bytes = 3, destination_bytes = 3;
    struct Loaded {
        V16 a, b, c;
    };

    Loaded load(const uint8_t *source) const {
        return {load_16(source), load_16(source + 16), load_16(source + 32)};
    }
    void store(uint8_t *destination, const Loaded &v) const {
        static constexpr LaneBytes aa = swap_indices(0, 0), ab = swap_indices(0, 1),
                                   ba = swap_indices(1, 0), bb = swap_indices(1, 1),
                                   bc = swap_indices(1, 2), cb = swap_indices(2, 1),
                                   cc = swap_indices(2, 2);
        const auto take = [](V16 lane, const LaneBytes &indices) {
            return shuffle_u8(lane, as_vector<V16>(indices));
        };
        store_16(destination, take(v.a, aa) | take(v.b, ab));
        store_16(destination + 16, take(v.a, ba) | take(v.b, bb) | take(v.c, bc));
        store_16(destination + 32, take(v.b, cb) | take(v.c, cc));
    }
};

#ifdef __AVX2__

// Bytes 32 x index to 32 x index + 31 of the run, out of the vectors that hold what stays within
// its lane and what crosses. No byte of a lane comes from further than a lane away, so that it
// does not matter which neighbour it crosses from.
template <int index>
V32 swap_vector(V32 staying, V32 crossing) {
    static constexpr auto indices = [](bool stays) {
        return bytes_by<32>([=](int i) {
            const int at = 32 * index + i, wanted = swapped(at);
            return (wanted / 16 == at / 16) == stays ? wanted % 16 : nothing;
        });
    };
    static constexpr VectorBytes<V32> from_here = indices(true), from_neighbours = indices(false);
    return shuffle_u8(staying, as_vector<V32>(from_here)) |
           shuffle_u8(crossing, as_vector<V32>(from_neighbours));
}

template <>
struct SwapRedBlue<V32> {
    static constexpr size_t units = 32, source_bytes = 3, destination_bytes = 3;
    struct Loaded {
        V32 a, b, c;
    };

    Loaded load(const uint8_t *source) const {
        return {simd::load<V32>(source), simd::load<V32>(source + 32),
                simd::load<V32>(source + 64)};
    }
    // What crosses to a vector: the other lane of its own, and of the next vector or the one
    // before the double word (of both, the lane) that touches it.
    void store(uint8_t *destination, const Loaded &v) const {
        const V32 to_a = lanes_exchanged(_mm256_blend_epi32(v.a, v.b, 0b00000001));
        const V32 to_b = lanes_exchanged(_mm256_blend_epi32(v.a, v.c, 0b00001111));
        const V32 to_c = lanes_exchanged(_mm256_blend_epi32(v.c, v.b, 0b10000000));
        simd::store(destination, swap_vector<0>(v.a, to_a));
        simd::store(destination + 32, swap_vector<1>(v.b, to_b));
        simd::store(destination + 64, swap_vector<2>(v.c, to_c));
    }
    static V32 lanes_exchanged(V32 v) {
        return _mm256_permute4x64_epi64(v, _MM_SHUFFLE(1, 0, 3, 2));
    }
};

#endif

} // namespace
} // namespace q32::rows
