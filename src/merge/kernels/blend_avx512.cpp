// Blending for AVX-512 with VBMI, 64 bytes at a time.
#include "merge/kernels/blend_forms.h"
#include "merge/kernels/normal_rows.h"

namespace q32::merge {
namespace {

struct Blends : WideBlends<V64, avx2_blend_kernels> {
    template <class R, Rounding rounding>
    requires(R::rule == Rule::normal) static constexpr MaskedRowsBlend *colour_rows =
        rounding == Rounding::divided ? avx512_divided_normal_rows : avx512_shifted_normal_rows;
};

} // namespace

constinit const BlendKernels avx512_blend_kernels = blend_table<Blends>();

} // namespace q32::merge
