// The table of an instruction set: every kind of row. The forms are a struct with
//   enlarge_bits, reduce_bits, enlarge<Pixel, kind>, reduce<Pixel, kind>
// each of which gives the kernel for a factor.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/scaling_kernels.h"
#include "rows/kernels/scaling_pixels.h"

namespace q32::rows {
namespace {

// Jumps to the kernel that is chosen for the factor.
template <auto kernel_for>
void by_factor(const ScaledRows &all) {
    kernel_for(all.factor)(all);
}

template <class Forms>
constexpr ScalingKernels scaling_table() {
    using enum PixelKind;
    return {
        .enlarge_bits = by_factor<Forms::enlarge_bits>,
        .enlarge =
            {
                by_factor<Forms::template enlarge<Plain<1>, one_byte>>,
                by_factor<Forms::template enlarge<Plain<2>, two_bytes>>,
                by_factor<Forms::template enlarge<Plain<3>, three_bytes>>,
                by_factor<Forms::template enlarge<Plain<4>, four_bytes>>,
                by_factor<Forms::template enlarge<Swapped, three_bytes_swapped>>,
            },
        .reduce_bits = by_factor<Forms::reduce_bits>,
        .reduce =
            {
                by_factor<Forms::template reduce<Plain<1>, one_byte>>,
                by_factor<Forms::template reduce<Plain<2>, two_bytes>>,
                by_factor<Forms::template reduce<Plain<3>, three_bytes>>,
                by_factor<Forms::template reduce<Plain<4>, four_bytes>>,
                by_factor<Forms::template reduce<Swapped, three_bytes_swapped>>,
            },
    };
}

} // namespace
} // namespace q32::rows
