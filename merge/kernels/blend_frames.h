// The wide frames of blending: how runs are walked in steps, and the table that comes of it.
//
// Private to the file that includes it, as rules.h.
#pragma once

#include "merge/kernels/blend_steps.h"
#include "merge/kernels/blend_table.h"

namespace q32::merge {
namespace {

// Walks a run of at least one step. The last step is moved back so that it ends with the run; what
// it covers twice comes out the same, because it is computed before anything is stored. The step is
// a copy, so that stores of bytes cannot be taken to change it.
template <class Step>
void walk(uint8_t *destination, size_t units, const Step step) {
    const size_t last = units - Step::units;
    typename Step::Vector last_results[Step::results];
    step.each(last, [&](size_t k, auto result) { last_results[k] = result; });
    for (size_t at = 0; at < last; at += Step::units) {
        uint8_t *const to = destination + at * Step::bytes;
        if (!step.shortcut(to, at))
            step.each(at, [to](size_t k, auto result) { Step::put(to, k, result); });
    }
    for (size_t k = 0; k < Step::results; ++k)
        Step::put(destination + last * Step::bytes, k, last_results[k]);
}

// Runs that are shorter than a step go to the same entry of the narrower forms' table.
template <class V, const BlendKernels &narrower>
struct WideFrames {
    template <class R, Rounding rounding, size_t samples>
    static void masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *weights,
                       const uint8_t *mask, size_t pixels) {
        if (pixels < sizeof(V)) {
            const Blend &shorter = narrower.blend[size_t(rounding)][size_t(R::rule)];
            (samples == 1 ? shorter.grey : shorter.colour)(destination, overlay, weights, mask,
                                                           pixels);
            return;
        }
        walk(destination, pixels,
             MaskedStep<R, rounding, samples, V>(destination, overlay, weights, mask));
    }

    template <class R, Rounding rounding>
    static void uniform(uint8_t *destination, const uint8_t *overlay, uint8_t weight,
                        size_t samples) {
        if (samples < sizeof(V))
            narrower.blend[size_t(rounding)][size_t(R::rule)].uniform(destination, overlay, weight,
                                                                      samples);
        else
            walk(destination, samples, UniformStep<R, rounding, V>(destination, overlay, weight));
    }

    // x / 100 is x x 5243 >> 19 for all products of a byte and a percentage.
    static void percent_weights(uint8_t *weights, const uint8_t *mask, int percent, size_t pixels) {
        if (pixels < sizeof(V)) {
            narrower.percent_weights(weights, mask, percent, pixels);
            return;
        }
        const auto of_percent = [factor = repeat_u16<V>(percent)](V words) {
            return shift_right_u16<3>(
                multiply_high_u16(multiply_low_u16(words, factor), repeat_u16<V>(5243)));
        };
        walk(weights, pixels, WeightsStep<V, decltype(of_percent)>(mask, of_percent));
    }

    static void scaled_weights(uint8_t *weights, const uint8_t *mask, uint8_t scale,
                               size_t pixels) {
        if (pixels < sizeof(V)) {
            narrower.scaled_weights(weights, mask, scale, pixels);
            return;
        }
        const auto scaled = [factor = repeat_u16<V>(scale)](V words) {
            return shift_right_u16<8>(multiply_low_u16(words, factor));
        };
        walk(weights, pixels, WeightsStep<V, decltype(scaled)>(mask, scaled));
    }
};

} // namespace
} // namespace q32::merge
