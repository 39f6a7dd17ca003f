// Colour spaces for AVX2, 32 pixels at a time, and 16 in runs that are shorter (simd/walk.h says
// why).
#include "merge/kernels/colour_registers.h"

#include "merge/kernels/colour_steps.h"

namespace q32::merge {
namespace {

extern const ColourKernels shorter_colour_kernels;
constexpr ColourKernels shorter_colour_kernels =
    WideColours<V16, ShortColours<shorter_colour_kernels>::table>::table;

} // namespace

constexpr ColourKernels avx2_colour_kernels = WideColours<V32, shorter_colour_kernels>::table;

} // namespace q32::merge
