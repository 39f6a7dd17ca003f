// Which merge kernels this process runs. The choice is made once, at attach, before any export can
// be called.
#pragma once

#include "merge/kernels/blend_kernels.h"
#include "merge/kernels/colour_kernels.h"
#include "merge/kernels/effect_kernels.h"

namespace q32::merge {

void choose_kernels(InstructionSet level);

const BlendKernels &blends();
const EffectKernels &effects();
const ColourKernels &colours();

} // namespace q32::merge
