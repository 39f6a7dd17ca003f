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

// Runs of equal length and position: what is to be done is worked out once for all of them.
template <class V>
class BitRun {
public:
    BitRun(size_t to, size_t from, size_t bits)
        : to_(to), from_(from), head_(to == 0 ? 0 : std::min(8 - to, bits)),
          shift_((from + head_) % 8), bytes_((bits - head_) / 8), tail_((bits - head_) % 8),
          wide_(shift_), narrow_(shift_) {}

    void copy(uint8_t *destination, const uint8_t *source) const {
        if (head_ != 0) {
            copy_in_byte(destination, to_, source, from_, head_);
            ++destination;
            source += (from_ + head_) / 8;
        }
        if (shift_ == 0)
            std::memcpy(destination, source, bytes_);
        else
            copy_shifted(destination, source);
        if (tail_ != 0)
            copy_in_byte(destination + bytes_, 0, source + bytes_, shift_, tail_);
    }

private:
    void copy_shifted(uint8_t *destination, const uint8_t *source) const {
        run(destination, source, bytes_, wide_,
            [this](uint8_t *to, const uint8_t *from, size_t bytes) {
                run(to, from, bytes, narrow_,
                    [this](uint8_t *to_byte, const uint8_t *from_byte, size_t left) {
                        for (; left != 0; --left)
                            *to_byte++ = uint8_t(gather_byte(from_byte++, shift_, 8));
                    });
            });
    }

    size_t to_, from_;
    size_t head_;  // bits of a first byte that is not whole
    size_t shift_; // of the source once the destination is at a byte
    size_t bytes_; // whole ones
    size_t tail_;  // bits of a last byte that is not whole
    ShiftBits<V> wide_;
    ShiftEightBytes narrow_;
};

template <class V>
void copy_bit_runs(uint8_t *destination, size_t destination_stride, size_t destination_bit,
                   const uint8_t *source, size_t source_stride, size_t source_bit, size_t bits,
                   size_t rows) {
    const BitRun<V> all(destination_bit % 8, source_bit % 8, bits);
    destination += destination_bit / 8;
    source += source_bit / 8;
    for (; rows != 0; --rows, destination += destination_stride, source += source_stride)
        all.copy(destination, source);
}

} // namespace
} // namespace q32::rows
