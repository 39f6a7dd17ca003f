// Rows of bits between two strides, in their scalar form: any number of bits from any bit position
// to any other. The highest bit of a byte comes first.
#include "rows/kernels/scalar.h"

namespace q32::rows {
namespace {

// Byte by byte of the destination, each from the two source bytes that it straddles. A byte that
// the source run does not touch is not read; its bits fall to the mask.
void copy_bits(std::uint8_t *destination, std::size_t destination_bit, const std::uint8_t *source,
               std::size_t source_bit, std::size_t bits) {
    if (bits == 0)
        return;
    destination += destination_bit / 8;
    source += source_bit / 8;
    const std::size_t to = destination_bit % 8, from = source_bit % 8;
    const std::size_t destination_bytes = (to + bits + 7) / 8;
    const std::size_t source_bytes = (from + bits + 7) / 8;
    const std::size_t bits_behind = 8 * destination_bytes - to - bits;
    const std::size_t lag = from < to ? 1 : 0; // the first byte straddles the run's beginning

    const auto source_byte = [=](std::size_t index) {
        return index < source_bytes ? unsigned(source[index]) : 0;
    };
    for (std::size_t i = 0; i < destination_bytes; ++i) {
        const unsigned pair = source_byte(i - lag) << 8 | source_byte(i - lag + 1);
        const unsigned value = pair << (from + 8 - to) % 8 >> 8;
        unsigned mask = 0xFF;
        if (i == 0)
            mask &= 0xFFu >> to;
        if (i == destination_bytes - 1)
            mask &= 0xFFu << bits_behind;
        destination[i] = std::uint8_t((value & mask) | (destination[i] & ~mask));
    }
}

} // namespace

void copy_bit_rows(std::uint8_t *destination, std::size_t destination_stride,
                   std::size_t destination_bit, const std::uint8_t *source,
                   std::size_t source_stride, std::size_t source_bit, std::size_t bits,
                   std::size_t rows) {
    for (; rows != 0; --rows, destination += destination_stride, source += source_stride)
        copy_bits(destination, destination_bit, source, source_bit, bits);
}

} // namespace q32::rows
