// Scaling by whole factors for AVX-512 with VBMI: of bits, 64 bytes at a time. Pixels gain nothing
// from longer stores, most of which touch two cache lines: they are enlarged as at AVX2, and those
// of two bytes reduced so, too, which the compiler puts together in longer vectors here and takes
// up to 1.8 times as long.
#include "rows/kernels/bit_scaling_steps.h"
#include "rows/kernels/reduce_steps.h"
#include "rows/kernels/row_kernels.h"
#include "rows/kernels/scaling_table.h"

namespace q32::rows {
namespace {

struct LongBits {
    static RowScaling *enlarge_bits(size_t factor) {
        return bit_enlarging_kernel<V64, avx512_row_kernels>(factor);
    }
    static RowScaling *reduce_bits(size_t factor) { return bit_reducing_kernel<V32>(factor); }
    template <class, PixelKind kind>
    static RowScaling *enlarge(size_t) {
        return avx2_scaling_kernels.enlarge[size_t(kind)];
    }
    template <class Pixel, PixelKind kind>
    static RowScaling *reduce(size_t factor) {
        if constexpr (kind == PixelKind::two_bytes)
            return avx2_scaling_kernels.reduce[size_t(kind)];
        else
            return reducing_kernel<V32, Pixel, kind, avx2_scaling_kernels>(factor);
    }
};

} // namespace

constinit const ScalingKernels avx512_scaling_kernels = scaling_table<LongBits>();

} // namespace q32::rows
