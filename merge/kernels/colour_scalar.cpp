#include "merge/kernels/colour_kernels.h"
namespace q32::merge { const ColourKernels scalar_colour_kernels{}; }
