// Which merge kernels this process runs.
#pragma once

#include "library/process/kernel_choice.h"
#include "merge/kernels/blend_kernels.h"
#include "merge/kernels/colour_kernels.h"
#include "merge/kernels/effect_kernels.h"

namespace q32::merge {

inline const BlendKernels &blends() {
    return *chosen_kernels<BlendKernels>;
}
inline const EffectKernels &effects() {
    return *chosen_kernels<EffectKernels>;
}
inline const ColourKernels &colours() {
    return *chosen_kernels<ColourKernels>;
}

} // namespace q32::merge
