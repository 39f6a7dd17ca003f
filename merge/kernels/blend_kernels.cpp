#include "merge/kernels/blend_kernels.h"
namespace q32::merge { const BlendKernels &blend_kernels(InstructionSet) { return scalar_blend_kernels; } }
