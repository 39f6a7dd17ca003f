#include "merge/kernels/effect_kernels.h"
namespace q32::merge { const EffectKernels &effect_kernels(InstructionSet) { return scalar_effect_kernels; } }
