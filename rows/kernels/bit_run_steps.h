// Runs of bits by vectors of whole destination bytes, with the first and the last byte by masks
// when the run does not fill them.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/runs.h"

#include <algorithm>

namespace q32::rows {
namespace {

// Destination bytes from the source bytes at and one behind their own place, both shifted. There is
// no shift of bytes: words are shifted, and the bits that cross from the other byte masked away.
template <class V>
class ShiftBits {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = 1;

    // 1 to 7 bits upwards.
    explicit ShiftBits(size_t shift)
        : up_(_mm_cvtsi32_si128(int(shift))), down_(_mm_cvtsi32_si128(int(8 - shift))),
          from_here_(repeat_byte<V>(uint8_t(0xFF << shift))) {}

    V load(const uint8_t *source) const {
        const V here = words_up(rows::load<V>(source), up_);
        const V next = words_down(rows::load<V>(source + 1), down_);
        return choose_bits(from_here_, here, next);
    }
    void store(uint8_t *destination, V bytes) const { rows::store(destination, bytes); }

private:
    V16 up_, down_;
    V from_here_;
};

// The same for eight bytes.
class ShiftEightBytes {
public:
    static constexpr size_t units = 8, source_bytes = 1, destination_bytes = 1;

    explicit ShiftEightBytes(size_t shift)
        : up_(_mm_cvtsi32_si128(int(shift))), down_(_mm_cvtsi32_si128(int(8 - shift))),
          from_here_(repeat_byte<V16>(uint8_t(0xFF << shift))) {}

    V16 load(const uint8_t *source) const {
        const V16 here = words_up(load_8(source), up_);
        const V16 next = words_down(load_8(source + 1), down_);
        return choose_bits(from_here_, here, next);
    }
    void store(uint8_t *destination, V16 bytes) const { store_8(destination, bytes); }

private:
    V16 up_, down_;
    V16 from_here_;
};

// Eight bits of the source from bit `from` of its first byte on; the second byte is read only when
// some of `count` bits lie in it.
inline unsigned gather_byte(const uint8_t *source, size_t from, size_t count) {
    const unsigned pair = unsigned(source[0]) << 8 | (from + count > 8 ? source[1] : 0);
    return pair << from >> 8 & 0xFF;
}

// Bits of a single destination byte.
inline void copy_in_byte(uint8_t *destination, size_t to, const uint8_t *source, size_t from,
                         size_t count) {
    const unsigned mask = 0xFFu >> to & 0xFFu << (8 - to - count);
    const unsigned value = gather_byte(source, from, count) >> to;
    *destination = uint8_t((value & mask) | (*destination & ~mask));
}

// Whole destination bytes from a source that begins 1 to 7 bits into its first byte.
template <class V>
void shift_bytes(uint8_t *destination, const uint8_t *source, size_t bytes, size_t shift) {
    const auto eights = [=](uint8_t *to, const uint8_t *from, size_t count) {
        run(to, from, count, ShiftEightBytes(shift),
            [=](uint8_t *to_byte, const uint8_t *from_byte, size_t left) {
                for (; left != 0; --left)
                    *to_byte++ = uint8_t(gather_byte(from_byte++, shift, 8));
            });
    };
    run(destination, source, bytes, ShiftBits<V>(shift), eights);
}

template <class V>
void copy_bit_run(uint8_t *destination, size_t destination_bit, const uint8_t *source,
                  size_t source_bit, size_t bits) {
    destination += destination_bit / 8;
    source += source_bit / 8;
    const size_t to = destination_bit % 8;
    size_t from = source_bit % 8;
    if (to != 0) {
        const size_t head = std::min(8 - to, bits);
        if (head == 0)
            return;
        copy_in_byte(destination++, to, source, from, head);
        from += head;
        source += from / 8;
        from %= 8;
        bits -= head;
    }
    const size_t bytes = bits / 8, tail = bits % 8;
    if (from == 0)
        std::memcpy(destination, source, bytes);
    else
        shift_bytes<V>(destination, source, bytes, from);
    if (tail != 0)
        copy_in_byte(destination + bytes, 0, source + bytes, from, tail);
}

} // namespace
} // namespace q32::rows
