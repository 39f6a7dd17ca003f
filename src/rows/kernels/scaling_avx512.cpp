// Scaling by whole factors for AVX-512 with VBMI: bits enlarged 64 bytes at a time. Pixels gain
// nothing from longer stores, most of which touch two cache lines.
#include "rows/kernels/scaling_forms.h"

namespace q32::rows {
namespace {

struct LongBits : WideScaling<V32, avx2_scaling_kernels, avx512_row_kernels> {
    static constexpr auto enlarge_bits =
        WideScaling<V64, avx2_scaling_kernels, avx512_row_kernels>::enlarge_bits;
};

} // namespace

constinit const ScalingKernels avx512_scaling_kernels = scaling_table<LongBits>();

} // namespace q32::rows
