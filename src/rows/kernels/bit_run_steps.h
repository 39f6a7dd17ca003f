// Runs of bits by vectors of whole destination bytes, with the first and the last byte by masks
// when the run does not fill them.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/operations.h"
#include "simd/walk.h"

#include <algorithm>
#include <cstring>

namespace q32::rows {
namespace {

// Destination bytes from the source bytes at and one behind their own place, both shifted. There is
// no shift of bytes: words are shifted, and the bits that cross from the other byte masked away.
template <class V>
class ShiftBits {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = 1;
    using Loaded = V;

    // 1 to 7 bits upwards.
    explicit ShiftBits(size_t shift)
        : up_(_mm_cvtsi32_si128(int(shift))), down_(_mm_cvtsi32_si128(int(8 - shift))),
          from_here_(repeat_u8<V>(uint8_t(0xFF << shift))) {}

    Loaded load(const uint8_t *source) const {
        const V here = shift_left_u16(simd::load<V>(source), up_);
        const V next = shift_right_u16(simd::load<V>(source + 1), down_);
        return select_bits(from_here_, here, next);
    }
    void store(uint8_t *destination, V bytes) const { simd::store(destination, bytes); }

private:
    V16 up_, down_;
    V from_here_;
};

// The same for eight bytes.
class ShiftEightBytes {
public:
    static constexpr size_t units = 8, source_bytes = 1, destination_bytes = 1;
    using Loaded = V16;

    explicit ShiftEightBytes(size_t shift)
        : up_(_mm_cvtsi32_si128(int(shift))), down_(_mm_cvtsi32_si128(int(8 - shift))),
          from_here_(repeat_u8<V16>(uint8_t(0xFF << shift))) {}

    Loaded load(const uint8_t *source) const {
        const V16 here = shift_left_u16(load_8(source), up_);
        const V16 next = shift_right_u16(load_8(source + 1), down_);
        return select_bits(from_here_, here, next);
    }
    void store(uint8_t *destination, V16 bytes) const { store_8(destination, bytes); }

private:
    V16 up_, down_;
    V16 from_here_;
};

// Bytes that lie alike here and there: the runtime's copy costs more than rows this short take.
template <class V>
struct MoveBytes {
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = 1;
    using Loaded = V;

    Loaded load(const uint8_t *source) const { return simd::load<V>(source); }
    void store(uint8_t *destination, V bytes) const { simd::store(destination, bytes); }
};

struct MoveEightBytes {
    static constexpr size_t units = 8, source_bytes = 1, destination_bytes = 1;
    using Loaded = V16;

    Loaded load(const uint8_t *source) const { return load_8(source); }
    void store(uint8_t *destination, V16 bytes) const { store_8(destination, bytes); }
};

// A destination byte of which the run has some bits, or all. The second byte of the source is read
// only when some of these lie in it.
class PartOfByte {
public:
    PartOfByte(size_t to, size_t from, size_t count)
        : down_(8 + to - from), mask_(0xFFu >> to & 0xFFu << (8 - to - count)),
          reads_second_(from + count > 8) {}

    void copy(uint8_t *destination, const uint8_t *source) const {
        const unsigned pair = unsigned(source[0]) << 8 | (reads_second_ ? source[1] : 0);
        *destination = uint8_t((pair >> down_ & mask_) | (*destination & ~mask_));
    }

private:
    size_t down_;
    unsigned mask_;
    bool reads_second_;
};

// Runs of equal length and position: what is to be done is worked out once for all of them.
template <class V>
class BitRun {
public:
    BitRun(size_t to, size_t from, size_t bits)
        : from_(from), head_(to == 0 ? 0 : std::min(8 - to, bits)), shift_((from + head_) % 8),
          bytes_((bits - head_) / 8), tail_((bits - head_) % 8), first_(to, from, head_),
          last_(0, shift_, tail_), whole_(0, shift_, 8), wide_(shift_), narrow_(shift_) {}

    void copy(uint8_t *destination, const uint8_t *source) const {
        if (head_ != 0) {
            first_.copy(destination, source);
            ++destination;
            source += (from_ + head_) / 8;
        }
        constexpr size_t long_row = 4096; // from here on the runtime's own copy is as good
        if (shift_ != 0)
            copy_bytes(destination, source, wide_, narrow_);
        else if (bytes_ < long_row)
            copy_bytes(destination, source, MoveBytes<V>(), MoveEightBytes());
        else
            std::memcpy(destination, source, bytes_);
        if (tail_ != 0)
            last_.copy(destination + bytes_, source + bytes_);
    }

private:
    template <class Wide, class Narrow>
    void copy_bytes(uint8_t *destination, const uint8_t *source, const Wide &wide,
                    const Narrow &narrow) const {
        convert_run(
            destination, source, bytes_, wide, [&](uint8_t *to, const uint8_t *from, size_t bytes) {
                convert_run(to, from, bytes, narrow,
                            [this](uint8_t *to_byte, const uint8_t *from_byte, size_t left) {
                                for (; left != 0; --left)
                                    whole_.copy(to_byte++, from_byte++);
                            });
            });
    }

    size_t from_;
    size_t head_;  // bits of a first byte that is not whole
    size_t shift_; // of the source once the destination is at a byte
    size_t bytes_; // whole ones
    size_t tail_;  // bits of a last byte that is not whole
    PartOfByte first_, last_, whole_;
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
