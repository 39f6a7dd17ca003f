// The kernels that were chosen at attach.
#include "merge/merge.h"

namespace q32::merge {
namespace {

const BlendKernels *chosen_blends;
const EffectKernels *chosen_effects;
const ColourKernels *chosen_colours;

} // namespace

void choose_kernels(InstructionSet level) {
    chosen_blends = &blend_kernels(level);
    chosen_effects = &effect_kernels(level);
    chosen_colours = &colour_kernels(level);
}

const BlendKernels &blends() {
    return *chosen_blends;
}

const EffectKernels &effects() {
    return *chosen_effects;
}

const ColourKernels &colours() {
    return *chosen_colours;
}

} // namespace q32::merge
