#include "merge/kernels/blend_kernels.h"
namespace q32::merge { const BlendKernels scalar_blend_kernels{}; }
