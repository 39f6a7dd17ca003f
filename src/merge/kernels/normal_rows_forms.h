// Colour rows under masks of their own, below each other: the normal rule, which is most of all
// merging, without a call for each row. A row that is no whole number of steps ends with one that
// is moved back so that it ends with the row, and is half as wide where that is enough.
//
// Private to the file that includes it, as rules.h.
#pragma once

#include "merge/kernels/blend_steps.h"
#include "merge/kernels/normal_strips_forms.h"
#include "merge/rows_ahead.h"

namespace q32::merge {
namespace {

template <class V, class Half, Rounding rounding>
class NormalRows {
public:
    static_assert(sizeof(V) == most_strip_pixels + 1);

    static void merge(const MaskedRows &all) {
        if (all.pixels <= most_strip_pixels)
            return NormalStrips<rounding>::merge(all);
        const size_t rest = all.pixels % sizeof(V);
        if (rest == 0)
            merge_ending_with<NoStep>(all);
        else if (rest <= sizeof(Half))
            merge_ending_with<Step<Half>>(all);
        else
            merge_ending_with<Step<V>>(all);
    }

private:
    template <class W>
    using Step = ResultStep<MaskedStep<Normal, rounding, 3, W>>;

    struct NoStep {
        static constexpr size_t units = 0;
        struct Results {};
        Results held(size_t) const { return {}; }
        void make(size_t, const Results &) const {}
    };

    template <class AnyStep>
    static AnyStep step_of(uint8_t *destination, const uint8_t *overlay, const uint8_t *weights) {
        if constexpr (AnyStep::units == 0)
            return {};
        else
            return {destination, {destination, overlay, weights, weights}};
    }

    // The last step is taken out of memory before anything is stored, as walk() does it. Flattened,
    // as a call of what a step is made of would keep every vector in memory.
    template <class LastStep>
    [[gnu::noinline, gnu::flatten]] static void merge_ending_with(const MaskedRows &all) {
        const size_t whole = all.pixels - all.pixels % sizeof(V);
        const size_t last = all.pixels - LastStep::units;
        const RowsAhead pixels_ahead(3 * all.pixels), weights_ahead(all.pixels);
        uint8_t *destination = all.destination;
        const uint8_t *overlay = all.overlay, *weights = all.weights;
        for (size_t left = all.rows; left != 0; --left) {
            pixels_ahead.fetch(destination, all.destination_stride);
            pixels_ahead.fetch(overlay, all.overlay_stride);
            weights_ahead.fetch(weights, all.weights_stride);
            const auto last_step = step_of<LastStep>(destination, overlay, weights);
            const auto last_held = last_step.held(last);
            const auto step = step_of<Step<V>>(destination, overlay, weights);
            for (size_t at = 0; at != whole; at += sizeof(V))
                step.make(at);
            last_step.make(last, last_held);
            destination += all.destination_stride;
            overlay += all.overlay_stride;
            weights += all.weights_stride;
        }
    }
};

} // namespace
} // namespace q32::merge
