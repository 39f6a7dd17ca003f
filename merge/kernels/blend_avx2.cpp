// Blending for AVX2, 32 bytes at a time.
#include "merge/kernels/blend_frames.h"
#include "merge/kernels/blend_wide.h"

namespace q32::merge {

constinit const BlendKernels avx2_blend_kernels =
    blend_table<WideFrames<V32, sse41_blend_kernels>>();

} // namespace q32::merge
