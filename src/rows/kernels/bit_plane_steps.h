// Enlarging rows of bits by small odd factors, and by twice these: of `factor` bytes that a source
// byte becomes, every one depends on four of its pixels at most, so that a byte shuffle finds it in
// a table. Needs the byte shuffle.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/double_bits.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

#include <utility>

namespace q32::rows {
namespace {

// Units are bytes of the source. Every lane makes its own bytes, from a source of its own. Plane k
// is byte k of all the bytes that are made of one; its bytes go to different places of a lane, as
// the factor is odd, so that one shuffle brings them there for all results.
template <class V, size_t factor>
struct EnlargeByPlanes {
    static_assert(factor % 2 == 1);
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = factor;
    using Loaded = V;

    Loaded load(const uint8_t *source) const { return simd::load<V>(source); }
    void store(uint8_t *destination, V bits) const {
        each_result(bits, [=]<size_t result>(V bytes) {
            store_lanes(destination + 16 * result, 16 * factor, bytes);
        });
    }

    template <class Take>
    static void each_result(V bits, Take take) {
        make_results(bits, take, std::make_index_sequence<factor>());
    }

private:
    // The four pixels that plane k is made of begin at pixel 0, 2 or 4.
    static constexpr size_t first_pixel(size_t plane) {
        const size_t first = 8 * plane / factor, last = (8 * plane + 7) / factor;
        return last < 4 ? 0 : first < 4 ? 2 : 4;
    }
    static constexpr LaneBytes bytes_of_nibbles(size_t plane) {
        return lane_by([=](int nibble) {
            const unsigned byte = unsigned(nibble) << (4 - first_pixel(plane));
            unsigned made = 0;
            for (size_t bit = 8 * plane; bit < 8 * plane + 8; ++bit)
                made = made << 1 | (byte >> (7 - bit / factor) & 1);
            return int(made);
        });
    }
    static constexpr size_t place_of(size_t byte, size_t plane) {
        return (byte * factor + plane) % 16;
    }
    static constexpr LaneBytes places(size_t plane) {
        LaneBytes places{};
        for (size_t byte = 0; byte < 16; ++byte)
            places.at[place_of(byte, plane)] = uint8_t(byte);
        return places;
    }
    static constexpr LaneBytes mask(size_t result, size_t plane) {
        return lane_by(
            [=](int i) { return (16 * result + size_t(i)) % factor == plane ? 255 : 0; });
    }

    template <size_t plane>
    static V make_plane(V bits) {
        static constexpr LaneBytes from_nibbles = bytes_of_nibbles(plane), order = places(plane);
        constexpr int down = int(4 - first_pixel(plane));
        const V low = repeat_u8<V>(0x0F);
        const V nibbles = (down != 0 ? shift_right_u16<down>(bits) : bits) & low;
        return shuffle_u8(shuffle_u8(as_vector<V>(from_nibbles), nibbles), as_vector<V>(order));
    }
    template <size_t result, size_t... plane>
    static V make_result(const V (&planes)[factor], std::index_sequence<plane...>) {
        V sum = zero<V>();
        (add<result, plane>(sum, planes[plane]), ...);
        return sum;
    }
    template <size_t result, size_t plane>
    static void add(V &sum, V bytes) {
        static constexpr LaneBytes here = mask(result, plane);
        if constexpr (plane == 0)
            sum = bytes;
        else
            sum = select_by_top_bits_u8(as_vector<V>(here), bytes, sum);
    }
    template <class Take, size_t... plane>
    static void make_results(V bits, Take take, std::index_sequence<plane...> planes) {
        const V all[factor] = {make_plane<plane>(bits)...};
        (take.template operator()<plane>(make_result<plane>(all, planes)), ...);
    }
};

// Twice an odd factor.
template <class V, size_t factor>
struct EnlargeByDoubledPlanes {
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = factor;
    using Loaded = V;

    Loaded load(const uint8_t *source) const { return simd::load<V>(source); }
    void store(uint8_t *destination, V bits) const {
        EnlargeByPlanes<V, factor / 2>::each_result(bits, [=]<size_t result>(V bytes) {
            const Pairs<V> twice = double_bits(bytes);
            store_lanes(destination + 32 * result, 16 * factor, twice.low);
            store_lanes(destination + 32 * result + 16, 16 * factor, twice.high);
        });
    }
};

// Every third pixel. Of three bytes of the source all are at different bits: one byte takes them
// up, and then its bits are brought into their order. Which of the three a byte is decides what it
// gives; the bytes of one such plane lie at different places of all vectors of a lane.
template <class V>
struct ReduceByThree {
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = 1;

    // Rows never overlap: nothing needs to be held.
    using Loaded = const uint8_t *;
    Loaded load(const uint8_t *source) const { return source; }
    void store(uint8_t *destination, Loaded source) const {
        const V first = load_lanes<V>(source, 48), second = load_lanes<V>(source + 16, 48),
                third = load_lanes<V>(source + 32, 48);
        const V mixed = plane<0>(first, second, third) | plane<1>(first, second, third) |
                        plane<2>(first, second, third);
        simd::store(destination, in_order(mixed));
    }

private:
    static constexpr int bits_of_plane(size_t plane) {
        int bits = 0;
        for (size_t bit = 0; bit < 24; bit += 3)
            bits |= bit / 8 == plane ? 0x80 >> bit % 8 : 0;
        return bits;
    }
    static constexpr VectorBytes<V> wanted(size_t vector, size_t plane) {
        return vector_by<V>([=](int i) {
            return (16 * vector + size_t(i) % 16) % 3 == plane ? bits_of_plane(plane) : 0;
        });
    }
    static constexpr VectorBytes<V> places(size_t plane) {
        return vector_by<V>([=](int i) { return (3 * i + int(plane)) % 16; });
    }
    // Of the upper or of the lower four bits.
    static constexpr LaneBytes order(bool upper) {
        return lane_by([=](int nibble) {
            const int mixed = upper ? nibble << 4 : nibble;
            int byte = 0;
            for (int pixel = 0; pixel < 8; ++pixel)
                byte |= (mixed & 0x80 >> 3 * pixel % 8) != 0 ? 0x80 >> pixel : 0;
            return byte;
        });
    }

    template <size_t number>
    static V plane(V first, V second, V third) {
        static constexpr VectorBytes<V> of_first = wanted(0, number), of_second = wanted(1, number),
                                        of_third = wanted(2, number), to = places(number);
        return shuffle_u8((first & as_vector<V>(of_first)) | (second & as_vector<V>(of_second)) |
                              (third & as_vector<V>(of_third)),
                          as_vector<V>(to));
    }
    static V in_order(V mixed) {
        static constexpr LaneBytes upper = order(true), lower = order(false);
        const V low_nibble = repeat_u8<V>(0x0F);
        return shuffle_u8(as_vector<V>(upper), shift_right_u16<4>(mixed) & low_nibble) |
               shuffle_u8(as_vector<V>(lower), mixed & low_nibble);
    }
};

} // namespace
} // namespace q32::rows
