// Colour spaces for processors with the byte shuffle, 16 pixels at a time.
#include "merge/kernels/colour_registers.h"

#include "merge/kernels/colour_steps.h"

namespace q32::merge {
constexpr ColourKernels sse41_colour_kernels =
    WideColours<V16, ShortColours<sse41_colour_kernels>::table>::table;

} // namespace q32::merge
