#include "merge/kernels/colour_kernels.h"
namespace q32::merge { const ColourKernels &colour_kernels(InstructionSet) { return scalar_colour_kernels; } }
