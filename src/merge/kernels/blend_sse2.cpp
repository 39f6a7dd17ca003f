// Blending for the baseline, 16 bytes at a time.
#include "merge/kernels/blend_forms.h"

namespace q32::merge {

constinit const BlendKernels sse2_blend_kernels =
    blend_table<WideBlends<V16, scalar_blend_kernels>>();

} // namespace q32::merge
