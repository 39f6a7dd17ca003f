// Blending for AVX2, 32 bytes at a time, and 16 in runs that are shorter.
#include "merge/kernels/blend_frames.h"
#include "merge/kernels/blend_wide.h"

namespace q32::merge {
namespace {

// Not the forms for SSE4.1: 32-bit programs on some processors run instructions of that encoding
// at a quarter of their speed once the upper halves of registers have been used, whatever has
// cleared them since.
constexpr BlendKernels shorter_blend_kernels = blend_table<WideFrames<V16, scalar_blend_kernels>>();

} // namespace

constinit const BlendKernels avx2_blend_kernels =
    blend_table<WideFrames<V32, shorter_blend_kernels>>();

} // namespace q32::merge
