// Scaling by whole factors for AVX-512 with VBMI: enlarging 64 bytes at a time, by permutations
// across lanes. Reducing gains nothing from them.
#include "rows/kernels/scaling_forms.h"

namespace q32::rows {
namespace {

using Reducing = WideScaling<V32, avx2_scaling_kernels, avx512_row_kernels>;

struct EnlargingBy64Bytes : WideScaling<V64, avx2_scaling_kernels, avx512_row_kernels> {
    static constexpr auto reduce_bits = Reducing::reduce_bits;

    template <class Pixel, PixelKind kind>
    static constexpr auto reduce = Reducing::reduce<Pixel, kind>;
};

} // namespace

constinit const ScalingKernels avx512_scaling_kernels = scaling_table<EnlargingBy64Bytes>();

} // namespace q32::rows
