// Enlarging and reducing rows of bits, written once for vectors of all sizes. Powers of two are
// made by doubling and by halving in registers. Other factors below 8 go nibble by nibble through
// tables, larger ones are runs of bytes that are all set or all clear.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/row_kernels.h"
#include "simd/byte_table.h"
#include "simd/operations.h"
#include "simd/walk.h"

#include <array>
#include <cstring>

namespace q32::rows {
namespace {

// 0 or 1. Without a branch: nobody can foretell bits.
inline unsigned bit_of(const uint8_t *source, size_t pixel) {
    return unsigned(source[pixel / 8]) >> (7 - pixel % 8) & 1;
}

// What takes over where a vector finds too little.
template <class V>
struct Narrower {
    using Vector = V16;
};
#ifdef __AVX512VBMI__
template <>
struct Narrower<V64> {
    using Vector = V32;
};
#endif

// --- twice --------------------------------------------------------------------------------------

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

template <class V>
inline Pairs<V> double_bits(V bits) {
    const V low_nibble = repeat_u8<V>(0x0F);
    const V dealt = dealt_to_lanes(bits);
    return pairs_u8(double_nibbles<V>(shift_right_u16<4>(dealt) & low_nibble),
                    double_nibbles<V>(dealt & low_nibble));
}

// Units are bytes of the source.
template <class V, size_t factor>
struct EnlargeBits {
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = factor;
    using Loaded = V;

    Loaded load(const uint8_t *source) const { return simd::load<V>(source); }
    void store(uint8_t *destination, V bits) const {
        const Pairs<V> twice = double_bits(bits);
        if constexpr (factor == 2) {
            simd::store(destination, twice.low);
            simd::store(destination + sizeof(V), twice.high);
        } else {
            const EnlargeBits<V, factor / 2> half;
            half.store(destination, twice.low);
            half.store(destination + factor / 2 * sizeof(V), twice.high);
        }
    }
};

// --- by tables ----------------------------------------------------------------------------------

// What the two nibbles of a byte give in the `factor` bytes that it becomes.
template <size_t factor>
struct NibbleTables {
    using Bytes = std::array<uint8_t, 8>;
    std::array<Bytes, 16> high{}, low{};

    constexpr NibbleTables() {
        for (size_t byte = 0; byte < 16; ++byte) {
            high[byte] = enlarged(byte << 4);
            low[byte] = enlarged(byte);
        }
    }

private:
    static constexpr Bytes enlarged(size_t byte) {
        Bytes bytes{};
        for (size_t bit = 0; bit < 8 * factor; ++bit)
            bytes[bit / 8] |= uint8_t((byte << bit / factor & 0x80) >> bit % 8);
        return bytes;
    }
};

template <size_t factor>
inline V16 enlarge_byte(unsigned byte) {
    static constexpr NibbleTables<factor> tables;
    return load_8(tables.high[byte >> 4].data()) | load_8(tables.low[byte & 15].data());
}

// Of one byte as many bytes as are wanted.
template <size_t factor>
inline void enlarge_last_byte(uint8_t *destination, unsigned byte, size_t bytes) {
    std::uint64_t held;
    store_8(reinterpret_cast<uint8_t *>(&held), enlarge_byte<factor>(byte));
    for (; bytes != 0; --bytes, held >>= 8)
        *destination++ = uint8_t(held); // copying would be a call
}

// Eight bytes are stored for each source byte; those too many belong to the next, or are left out.
template <size_t factor>
inline void enlarge_bytes(uint8_t *destination, const uint8_t *source, size_t bytes) {
    constexpr size_t careful = (8 - 1) / factor; // bytes of the source
    for (; bytes > careful; --bytes, ++source, destination += factor)
        store_8(destination, enlarge_byte<factor>(*source));
    for (; bytes != 0; --bytes, ++source, destination += factor)
        enlarge_last_byte<factor>(destination, *source, factor);
}

template <class V, size_t factor>
inline void double_bytes(uint8_t *destination, const uint8_t *source, size_t bytes) {
    convert_run(destination, source, bytes, EnlargeBits<V, factor>{},
                [](uint8_t *to, const uint8_t *from, size_t count) {
                    if constexpr (sizeof(V) > sizeof(V16))
                        double_bytes<typename Narrower<V>::Vector, factor>(to, from, count);
                    else
                        enlarge_bytes<factor>(to, from, count);
                });
}

// By a factor below 8.
template <class V, size_t factor>
inline void enlarge_bits_by(uint8_t *destination, const uint8_t *source, size_t pixels) {
    const size_t bytes = pixels / 8, left = pixels % 8;
    if constexpr (factor == 2 || factor == 4)
        double_bytes<V, factor>(destination, source, bytes);
    else
        enlarge_bytes<factor>(destination, source, bytes);
    if (left != 0)
        enlarge_last_byte<factor>(destination + factor * bytes, source[bytes] & 0xFF00u >> left,
                                  (left * factor + 7) / 8);
}

// --- runs ---------------------------------------------------------------------------------------

// Every pixel is stored as bytes of its own up to the end of its run and beyond it, where the next
// run follows. The byte that two runs share is put together when the second begins. The factor is 8
// or more.
template <class V>
void enlarge_bits_in_runs(uint8_t *destination, const uint8_t *source, size_t pixels,
                          size_t factor) {
    const uint8_t *const end = destination + size_t((std::uint64_t(pixels) * factor + 7) / 8);
    unsigned held = 0; // bits of the run before in the byte at the destination
    size_t used = 0;   // how many they are
    for (size_t pixel = 0; pixel < pixels; ++pixel) {
        const auto value = uint8_t(0 - bit_of(source, pixel));
        const size_t bits = used + factor % 8;
        const size_t whole = factor / 8 + bits / 8;
        const size_t touched = whole + (bits % 8 != 0);

        if (size_t(end - destination) >= touched + sizeof(V))
            for (size_t done = 0; done < touched; done += sizeof(V))
                store(destination + done, repeat_u8<V>(value));
        else
            std::memset(destination, value, touched);
        *destination = uint8_t(held | (value & 0xFFu >> used));

        destination += whole;
        used = bits % 8;
        held = value & ~(0xFFu >> used);
    }
    if (used != 0)
        *destination = uint8_t(held);
}

// --- half ---------------------------------------------------------------------------------------

// Every other bit of each byte, as its upper four bits.
template <class V>
inline V halve_bytes(V bits) {
    const V singles = bits & repeat_u8<V>(0xAA);
    const V pairs = (singles | shift_left_u16<1>(singles)) & repeat_u8<V>(0xCC);
    return (pairs | shift_left_u16<2>(pairs)) & repeat_u8<V>(0xF0);
}

template <class V>
inline V halve_words(V bits) {
    const V nibbles = halve_bytes(bits);
    return (nibbles & repeat_u16<V>(0x00F0)) | shift_right_u16<12>(nibbles);
}

// Units are bytes of the destination.
template <class V, size_t factor>
struct ReduceBits {
    static constexpr size_t units = sizeof(V), source_bytes = factor, destination_bytes = 1;
    using Loaded = V;

    Loaded load(const uint8_t *source) const {
        if constexpr (factor == 1) {
            return simd::load<V>(source);
        } else {
            const ReduceBits<V, factor / 2> half;
            const V first = half.load(source);
            const V second = half.load(source + factor / 2 * sizeof(V));
            return pack_i16_to_u8_in_order(halve_words(first), halve_words(second));
        }
    }
    void store(uint8_t *destination, V bits) const { simd::store(destination, bits); }
};

// Eight pixels at a time from their places, and what is left over in a last byte.
inline void gather_bits(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor) {
    size_t left = (pixels + factor - 1) / factor;
    for (size_t pixel = 0; left != 0; ++destination) {
        const size_t count = left < 8 ? left : 8;
        unsigned byte = 0;
        for (size_t i = 0; i < count; ++i, pixel += factor)
            byte = byte << 1 | bit_of(source, pixel);
        *destination = uint8_t(byte << (8 - count));
        left -= count;
    }
}

// --- factors ------------------------------------------------------------------------------------

template <class V>
void enlarge_bit_row(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor,
                     BitConversion *bit_to_byte) {
    switch (factor) {
    case 1:
        return gather_bits(destination, source, pixels, 1);
    case 2:
        return enlarge_bits_by<V, 2>(destination, source, pixels);
    case 3:
        return enlarge_bits_by<V, 3>(destination, source, pixels);
    case 4:
        return enlarge_bits_by<V, 4>(destination, source, pixels);
    case 5:
        return enlarge_bits_by<V, 5>(destination, source, pixels);
    case 6:
        return enlarge_bits_by<V, 6>(destination, source, pixels);
    case 7:
        return enlarge_bits_by<V, 7>(destination, source, pixels);
    case 8:
        return bit_to_byte(destination, source, pixels, 0xFF);
    }
    enlarge_bits_in_runs<V>(destination, source, pixels, factor);
}

template <class V, size_t factor>
inline void halve_to_bytes(uint8_t *destination, const uint8_t *source, size_t bytes) {
    convert_run(destination, source, bytes, ReduceBits<V, factor>{},
                [](uint8_t *to, const uint8_t *from, size_t count) {
                    if constexpr (sizeof(V) > sizeof(V16))
                        halve_to_bytes<typename Narrower<V>::Vector, factor>(to, from, count);
                    else
                        gather_bits(to, from, 8 * factor * count, factor);
                });
}

// The bytes that are full, and the rest of the row.
template <class V, size_t factor>
inline void reduce_bits_by(uint8_t *destination, const uint8_t *source, size_t pixels) {
    const size_t bytes = pixels / factor / 8;
    halve_to_bytes<V, factor>(destination, source, bytes);
    gather_bits(destination + bytes, source + factor * bytes, pixels - 8 * factor * bytes, factor);
}

template <class V>
void reduce_bit_row(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor) {
    switch (factor) {
    case 2:
        return reduce_bits_by<V, 2>(destination, source, pixels);
    case 4:
        return reduce_bits_by<V, 4>(destination, source, pixels);
    case 8:
        return reduce_bits_by<V, 8>(destination, source, pixels);
    }
    gather_bits(destination, source, pixels, factor);
}

} // namespace
} // namespace q32::rows
