// The table of an instruction set: every kind of row by vectors V, and pixels that are too few for
// them by another table.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/bit_scaling_steps.h"
#include "rows/kernels/enlarge_steps.h"
#include "rows/kernels/reduce_steps.h"

namespace q32::rows {
namespace {

// bits_to_bytes enlarges bits by 8.
template <class V, const ScalingKernels &shorter, BitConversion *bits_to_bytes>
struct WideScaling {
    static void enlarge_bits(uint8_t *destination, const uint8_t *source, size_t pixels,
                             size_t factor) {
        enlarge_bit_row<V>(destination, source, pixels, factor, bits_to_bytes);
    }
    static void reduce_bits(uint8_t *destination, const uint8_t *source, size_t pixels,
                            size_t factor) {
        reduce_bit_row<V>(destination, source, pixels, factor);
    }
    template <class Pixel, PixelKind kind>
    static void enlarge(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor) {
        enlarge_pixels<V, Pixel>(destination, source, pixels, factor,
                                 shorter.enlarge[size_t(kind)]);
    }
    template <class Pixel, PixelKind kind>
    static void reduce(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor) {
        reduce_pixels<V, Pixel>(destination, source, pixels, factor, shorter.reduce[size_t(kind)]);
    }
};

template <class Enlarging, class Reducing>
constexpr ScalingKernels scaling_table() {
    using enum PixelKind;
    return {
        .enlarge_bits = Enlarging::enlarge_bits,
        .enlarge =
            {
                Enlarging::template enlarge<Plain<1>, one_byte>,
                Enlarging::template enlarge<Plain<2>, two_bytes>,
                Enlarging::template enlarge<Plain<3>, three_bytes>,
                Enlarging::template enlarge<Plain<4>, four_bytes>,
                Enlarging::template enlarge<Swapped, three_bytes_swapped>,
            },
        .reduce_bits = Reducing::reduce_bits,
        .reduce =
            {
                Reducing::template reduce<Plain<1>, one_byte>,
                Reducing::template reduce<Plain<2>, two_bytes>,
                Reducing::template reduce<Plain<3>, three_bytes>,
                Reducing::template reduce<Plain<4>, four_bytes>,
                Reducing::template reduce<Swapped, three_bytes_swapped>,
            },
    };
}

} // namespace
} // namespace q32::rows
