// Blending for AVX-512 with VBMI, 64 bytes at a time.
#include "merge/kernels/blend_forms.h"

namespace q32::merge {
namespace {

// The premultiplied rules have lanes of their own pixels and remain AVX2's.
struct BlendsOf64Bytes : WideBlends<V64, avx2_blend_kernels> {
    using Wide = WideBlends<V64, avx2_blend_kernels>;

    template <class R, Rounding rounding, size_t samples>
    static void masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *weights,
                       const uint8_t *mask, size_t pixels) {
        if constexpr (Premultiplied<R>) {
            const Blend &narrower = avx2_blend_kernels(rounding, R::rule);
            (samples == 1 ? narrower.grey : narrower.colour)(destination, overlay, weights, mask,
                                                             pixels);
        } else {
            Wide::masked<R, rounding, samples>(destination, overlay, weights, mask, pixels);
        }
    }
};

} // namespace

constinit const BlendKernels avx512_blend_kernels = blend_table<BlendsOf64Bytes>();

} // namespace q32::merge
