// Runs that are shorter than the shortest step: through a block that has room for a step.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/few_bytes.h"
#include "simd/vectors.h"

namespace q32::rows {
namespace {

// A block is stored and loaded 16 bytes at a time and in no other way: a processor waits for a load
// that begins within what was stored just before.
template <size_t size>
struct alignas(16) Block {
    static constexpr size_t lanes = (size + 15) / 16;
    uint8_t bytes[16 * lanes];

    // What a block has behind its run is of no interest: it becomes what is left out.
    Block() { __asm__("" : "=m"(bytes)); }

    void fill(const uint8_t *from, size_t count) {
        uint8_t *to = bytes;
        for (; count >= 16; count -= 16, from += 16, to += 16)
            store_16(to, load_16(from));
        if (count != 0)
            with_few_bytes(count, [&](const auto &few) { store_16(to, few.load(from)); });
    }
    void empty(uint8_t *to, size_t count) const {
        const uint8_t *from = bytes;
        for (; count >= 16; count -= 16, from += 16, to += 16)
            store_16(to, load_16(from));
        if (count != 0)
            with_few_bytes(count, [&](const auto &few) { few.store(to, load_16(from)); });
    }
};

// The same where units are eight pixels and the last one may be incomplete: what is loaded behind
// it is 0.
template <class Conversion>
inline void convert_bits_in_block(uint8_t *destination, const uint8_t *source, size_t pixels,
                                  const Conversion &conversion) {
    Block<Conversion::units * Conversion::source_bytes> from;
    Block<Conversion::units * Conversion::destination_bytes> to;
    from.fill(source, (pixels * Conversion::source_bytes + 7) / 8);
    conversion.store(to.bytes, conversion.load(from.bytes));
    to.empty(destination, (pixels * Conversion::destination_bytes + 7) / 8);
}

} // namespace
} // namespace q32::rows
