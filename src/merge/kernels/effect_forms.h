// The wide effects: every kernel as a walk in steps, and the table that an instruction set makes of
// them.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/blend_steps.h"
#include "merge/kernels/effect_samples.h"
#include "merge/kernels/effect_selection.h"

namespace q32::merge {
namespace {

// --- steps --------------------------------------------------------------------------------------

// Pixels under a mask. Vectors of real masks are often all 0: looking for that costs little where
// there are none.
template <size_t samples, class V, class Effect>
struct MaskedEffectStep : PlainStep<V, samples> {
    const uint8_t *destination, *overlay, *mask;
    Effect effect;

    MaskedEffectStep(const uint8_t *d, const uint8_t *o, const uint8_t *m, const Effect &e)
        : destination(d), overlay(o), mask(m), effect(e) {}

    bool shortcut(uint8_t *, size_t pixel) const { return all_zero(load<V>(mask + pixel)); }

    template <class Take>
    void each(size_t pixel, Take take) const {
        const WeightPairs<V, samples> pairs(mask + pixel);
        for_each(std::make_index_sequence<samples>(), [&](auto k) {
            const size_t at = samples * pixel + k * sizeof(V);
            take(k,
                 effect(load<V>(destination + at), load<V>(overlay + at), pairs.template of<k>()));
        });
    }
};

template <size_t samples, class V, class Effect>
void walk_masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *mask, size_t pixels,
                 const Effect &effect) {
    walk_results(destination, pixels,
                 MaskedEffectStep<samples, V, Effect>(destination, overlay, mask, effect));
}

// --- the forms ----------------------------------------------------------------------------------

template <size_t samples, class Kernel>
constexpr Kernel *of_size(const BySize<Kernel> &kernels) {
    return samples == 1 ? kernels.grey : kernels.colour;
}

// Runs that are shorter than a step go to the same entry of the narrower forms' table.
template <class V, const EffectKernels &narrower>
struct WideEffects {
    template <Comparison comparison, size_t samples>
    [[gnu::flatten]] static void select(uint8_t *selected, const uint8_t *weights,
                                        const uint8_t *base, const uint8_t *overlay,
                                        size_t pixels) {
        if (pixels < sizeof(V)) {
            of_size<samples>(narrower.select[size_t(comparison)])(selected, weights, base, overlay,
                                                                  pixels);
            return;
        }
        walk_vectors<V>(selected, pixels, [=](size_t at) {
            return selection<V, comparison, samples>(weights + at, base + samples * at,
                                                     overlay + samples * at);
        });
    }

    template <size_t samples>
    static void relief(uint8_t *destination, const uint8_t *overlay, const uint8_t *mask,
                       uint8_t strength, size_t pixels) {
        if (pixels < sizeof(V))
            of_size<samples>(narrower.relief)(destination, overlay, mask, strength, pixels);
        else
            walk_masked<samples, V>(destination, overlay, mask, pixels, ReliefOf<V>(strength));
    }

    template <size_t samples>
    static void subtract_masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *mask,
                                size_t pixels) {
        if (pixels < sizeof(V))
            of_size<samples>(narrower.subtract_masked)(destination, overlay, mask, pixels);
        else
            walk_masked<samples, V>(destination, overlay, mask, pixels, MaskedSubtractionOf<V>());
    }

    static void subtract_portion(uint8_t *destination, const uint8_t *overlay,
                                 std::uint32_t portion, size_t samples) {
        if (samples < sizeof(V)) {
            narrower.subtract_portion(destination, overlay, portion, samples);
            return;
        }
        const auto subtract = [&](const auto &effect) {
            walk_vectors<V>(destination, samples, [=](size_t at) {
                return effect(load<V>(destination + at), load<V>(overlay + at));
            });
        };
        if (portion == whole_portion)
            subtract([](V base, V whole) { return subtract_saturating_u8(base, whole); });
        else
            subtract(PortionSubtractionOf<V>(portion));
    }
};

// --- the table ----------------------------------------------------------------------------------

template <class Effects>
constexpr EffectKernels effect_table() {
    using enum Comparison;
    return {
        .select = {{Effects::template select<lighter, 1>, Effects::template select<lighter, 3>},
                   {Effects::template select<darker, 1>, Effects::template select<darker, 3>},
                   {nullptr, Effects::template select<lighter_by_sums, 3>}},
        .relief = {Effects::template relief<1>, Effects::template relief<3>},
        .subtract_masked = {Effects::template subtract_masked<1>,
                            Effects::template subtract_masked<3>},
        .subtract_portion = Effects::subtract_portion,
    };
}

} // namespace
} // namespace q32::merge
