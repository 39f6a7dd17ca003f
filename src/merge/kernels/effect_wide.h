// The tables of the wide forms, by instruction set. A table has every entry; its forms hand runs
// that are too short for them to the table of the next narrower set.
#pragma once

#include "merge/kernels/effect_kernels.h"

namespace q32::merge {

extern const EffectKernels sse2_effect_kernels;
extern const EffectKernels sse41_effect_kernels;
extern const EffectKernels avx2_effect_kernels;
extern const EffectKernels avx512_effect_kernels;

} // namespace q32::merge
