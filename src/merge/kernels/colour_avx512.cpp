// Colour spaces for AVX-512 with VBMI, 64 pixels at a time.
#include "merge/kernels/colour_registers.h"

#include "merge/kernels/colour_grey_512.h"
#include "merge/kernels/colour_layout_512.h"

#include "merge/kernels/colour_steps.h" // sees what the others make of its parts

namespace q32::merge {

constexpr ColourKernels avx512_colour_kernels = WideColours<V64, avx2_colour_kernels>::table;

} // namespace q32::merge
