#include "merge/kernels/effect_kernels.h"
namespace q32::merge { const EffectKernels scalar_effect_kernels{}; }
