// Runs of bits by vectors of whole destination bytes. The bits of the first and the last byte, when
// the run does not fill them, go to the scalar form.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/runs.h"
#include "rows/kernels/scalar.h"

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

// Whole destination bytes from a source that begins `shift` bits into its first byte.
template <class V>
void shift_bytes(uint8_t *destination, const uint8_t *source, size_t bytes, size_t shift,
                 BitsCopy *shorter) {
    if (shift == 0)
        std::memcpy(destination, source, bytes);
    else
        run(destination, source, bytes, ShiftBits<V>(shift),
            [=](uint8_t *to, const uint8_t *from, size_t count) {
                shorter(to, 0, from, shift, 8 * count);
            });
}

template <class V>
void copy_bit_run(uint8_t *destination, size_t destination_bit, const uint8_t *source,
                  size_t source_bit, size_t bits, BitsCopy *shorter) {
    const size_t head = std::min((8 - destination_bit % 8) % 8, bits);
    if (head != 0)
        copy_bits(destination, destination_bit, source, source_bit, head);
    destination += (destination_bit + head) / 8;
    source += (source_bit + head) / 8;
    const size_t shift = (source_bit + head) % 8;
    const size_t bytes = (bits - head) / 8, tail = (bits - head) % 8;
    if (bytes != 0)
        shift_bytes<V>(destination, source, bytes, shift, shorter);
    if (tail != 0)
        copy_bits(destination + bytes, 0, source + bytes, shift, tail);
}

} // namespace
} // namespace q32::rows
