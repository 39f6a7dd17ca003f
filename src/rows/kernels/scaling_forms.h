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
    static RowScaling *enlarge_bits(size_t factor) { return bit_enlarging_kernel<V, rows>(factor); }
    static RowScaling *reduce_bits(size_t factor) { return bit_reducing_kernel<V>(factor); }
    template <class Pixel, PixelKind kind>
    static RowScaling *enlarge(size_t factor) {
        return enlarging_kernel<V, Pixel, kind, narrower>(factor);
    }
    template <class Pixel, PixelKind kind>
    static RowScaling *reduce(size_t factor) {
        return reducing_kernel<V, Pixel, kind, narrower>(factor);
    }
};

} // namespace
} // namespace q32::rows
