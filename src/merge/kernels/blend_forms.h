// The wide forms of blending: every kernel as a walk in steps.
//
// Private to the file that includes it, as rules.h.
#pragma once

#include "merge/kernels/blend_steps.h"
#include "merge/kernels/blend_table.h"

namespace q32::merge {
namespace {

// Runs that are shorter than a step go to the same entry of the narrower forms' table.
template <class V, const BlendKernels &narrower>
struct WideBlends {
    template <class R, Rounding rounding, size_t samples>
    static void masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *weights,
                       const uint8_t *mask, size_t pixels) {
        if (pixels < sizeof(V)) {
            const Blend &shorter = narrower.blend[size_t(rounding)][size_t(R::rule)];
            (samples == 1 ? shorter.grey : shorter.colour)(destination, overlay, weights, mask,
                                                           pixels);
            return;
        }
        walk_results(destination, pixels,
                     MaskedStep<R, rounding, samples, V>(destination, overlay, weights, mask));
    }

    template <class R, Rounding rounding>
    static void uniform(uint8_t *destination, const uint8_t *overlay, uint8_t weight,
                        size_t samples) {
        if (samples < sizeof(V))
            narrower.blend[size_t(rounding)][size_t(R::rule)].uniform(destination, overlay, weight,
                                                                      samples);
        else
            walk_results(destination, samples,
                         UniformStep<R, rounding, V>(destination, overlay, weight));
    }

    // x / 100 is x x 5243 >> 19 for all products of a byte and a percentage.
    static void percent_weights(uint8_t *weights, const uint8_t *mask, int percent, size_t pixels) {
        if (pixels < sizeof(V)) {
            narrower.percent_weights(weights, mask, percent, pixels);
            return;
        }
        walk_vectors<V>(weights, pixels, [=, factor = repeat_u16<V>(percent)](size_t at) {
            return changed(mask + at, [=](V words) {
                return shift_right_u16<3>(
                    multiply_high_u16(multiply_low_u16(words, factor), repeat_u16<V>(5243)));
            });
        });
    }

    static void scaled_weights(uint8_t *weights, const uint8_t *mask, uint8_t scale,
                               size_t pixels) {
        if (pixels < sizeof(V)) {
            narrower.scaled_weights(weights, mask, scale, pixels);
            return;
        }
        walk_vectors<V>(weights, pixels, [=, factor = repeat_u16<V>(scale)](size_t at) {
            return changed(mask + at, [=](V words) {
                return shift_right_u16<8>(multiply_low_u16(words, factor));
            });
        });
    }

private:
    // Weights from mask bytes, as words.
    template <class Change>
    static V changed(const uint8_t *mask, const Change &change) {
        const Pairs<V> words = pairs_u8(load<V>(mask), zero<V>());
        return pack_i16_to_u8_in_lanes(change(words.low), change(words.high));
    }
};

} // namespace
} // namespace q32::merge
