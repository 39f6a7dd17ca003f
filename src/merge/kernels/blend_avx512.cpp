// Blending for AVX-512 with VBMI, 64 bytes at a time.
#include "merge/kernels/blend_forms.h"

namespace q32::merge {

constinit const BlendKernels avx512_blend_kernels =
    blend_table<WideBlends<V64, avx2_blend_kernels>>();

} // namespace q32::merge
