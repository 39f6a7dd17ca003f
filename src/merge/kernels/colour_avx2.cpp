// Colour spaces for AVX2, 32 pixels at a time.
#include "merge/kernels/colour_registers.h"

#include "merge/kernels/colour_forms.h"
#include "merge/kernels/colour_steps.h"

namespace q32::merge {

constexpr ColourKernels avx2_colour_kernels = WideColours<V32, sse41_colour_kernels>::table;

} // namespace q32::merge
