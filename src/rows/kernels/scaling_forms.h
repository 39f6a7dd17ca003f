// The wide forms of scaling by whole factors, by vectors V.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/bit_scaling_steps.h"
#include "rows/kernels/enlarge_steps.h"
#include "rows/kernels/reduce_steps.h"
#include "rows/kernels/row_kernels.h"
#include "rows/kernels/scaling_table.h"

namespace q32::rows {
namespace {

// Pixels that are too few for a step go to the same entry of the narrower forms' table. Bits
// enlarged by 8 are a conversion of `rows`.
template <class V, const ScalingKernels &narrower, const RowKernels &rows>
struct WideScaling {
    static void enlarge_bits(uint8_t *destination, const uint8_t *source, size_t pixels,
                             size_t factor) {
        enlarge_bit_row<V>(destination, source, pixels, factor, rows.bit_to_byte);
    }
    static void reduce_bits(uint8_t *destination, const uint8_t *source, size_t pixels,
                            size_t factor) {
        reduce_bit_row<V>(destination, source, pixels, factor);
    }
    template <class Pixel, PixelKind kind>
    static void enlarge(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor) {
        enlarge_pixels<V, Pixel>(destination, source, pixels, factor,
                                 narrower.enlarge[size_t(kind)]);
    }
    template <class Pixel, PixelKind kind>
    static void reduce(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor) {
        reduce_pixels<V, Pixel>(destination, source, pixels, factor, narrower.reduce[size_t(kind)]);
    }
};

} // namespace
} // namespace q32::rows
