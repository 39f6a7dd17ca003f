// Blending for AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says why).
#include "merge/kernels/blend_forms.h"
#include "merge/kernels/normal_rows.h"

namespace q32::merge {
namespace {

constexpr BlendKernels shorter_blend_kernels = blend_table<WideBlends<V16, scalar_blend_kernels>>();

struct Blends : WideBlends<V32, shorter_blend_kernels> {
    template <class R, Rounding rounding>
    requires(R::rule == Rule::normal) static constexpr MaskedRowsBlend *colour_rows =
        rounding == Rounding::divided ? avx2_divided_normal_rows : avx2_shifted_normal_rows;
};

} // namespace

constinit const BlendKernels avx2_blend_kernels = blend_table<Blends>();

} // namespace q32::merge
