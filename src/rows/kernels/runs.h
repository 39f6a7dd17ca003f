// Runs of bits in steps of whole bytes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/row_kernels.h"
#include "simd/operations.h"
#include "simd/walk.h"

namespace q32::rows {
namespace {

// The bytes of eight pixels are the units, and the pixels of a last, incomplete byte go to the
// scalar form.
template <class Step>
inline void convert_bits(uint8_t *destination, const uint8_t *source, size_t pixels, uint8_t value,
                         BitConversion *shorter, BitConversion *scalar) {
    const size_t groups = pixels / 8;
    convert_run(destination, source, groups, Step(value),
                [=](uint8_t *to, const uint8_t *from, size_t count) {
                    shorter(to, from, 8 * count, value);
                });
    if (pixels % 8 != 0)
        scalar(destination + groups * Step::destination_bytes, source + groups * Step::source_bytes,
               pixels % 8, value);
}

} // namespace
} // namespace q32::rows
