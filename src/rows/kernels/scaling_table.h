// The table of an instruction set: every kind of row. The forms are a struct with
//   enlarge_bits, reduce_bits, enlarge<Pixel, kind>, reduce<Pixel, kind>
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/scaling_kernels.h"
#include "rows/kernels/scaling_pixels.h"

namespace q32::rows {
namespace {

template <class Forms>
constexpr ScalingKernels scaling_table() {
    using enum PixelKind;
    return {
        .enlarge_bits = Forms::enlarge_bits,
        .enlarge =
            {
                Forms::template enlarge<Plain<1>, one_byte>,
                Forms::template enlarge<Plain<2>, two_bytes>,
                Forms::template enlarge<Plain<3>, three_bytes>,
                Forms::template enlarge<Plain<4>, four_bytes>,
                Forms::template enlarge<Swapped, three_bytes_swapped>,
            },
        .reduce_bits = Forms::reduce_bits,
        .reduce =
            {
                Forms::template reduce<Plain<1>, one_byte>,
                Forms::template reduce<Plain<2>, two_bytes>,
                Forms::template reduce<Plain<3>, three_bytes>,
                Forms::template reduce<Plain<4>, four_bytes>,
                Forms::template reduce<Swapped, three_bytes_swapped>,
            },
    };
}

} // namespace
} // namespace q32::rows
