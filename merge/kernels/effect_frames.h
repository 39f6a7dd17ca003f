// The wide effects: how their runs are walked, and the table that an instruction set makes of them.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/effect_samples.h"
#include "merge/kernels/effect_selection.h"

#include <utility>

namespace q32::merge {
namespace {

// --- walks --------------------------------------------------------------------------------------

// In whole steps. The last one is moved back so that it ends with the run; what it covers twice
// comes out the same, because it is computed before anything is stored: that also keeps runs in
// place right.

// Steps of sizeof(V) pixels, as the mask is spread; there is at least one. Vectors of real masks
// are often all 0: looking for that costs little where there are none.
template <class V, size_t samples, class Effect>
void walk_masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *mask, size_t pixels,
                 const Effect &effect) {
    const auto step = [&](size_t pixel, auto &&take) {
        const WeightPairs<V, samples> pairs(mask + pixel);
        [&]<size_t... k>(std::index_sequence<k...>) {
            const auto one = [&](size_t at, Pairs<V> m) {
                take(at, effect(load<V>(destination + at), load<V>(overlay + at), m));
            };
            (one(samples * pixel + k * sizeof(V), pairs.template of<k>()), ...);
        }
        (std::make_index_sequence<samples>());
    };
    const size_t last = pixels - sizeof(V);
    V last_results[samples];
    step(last,
         [&](size_t at, V result) { last_results[(at - samples * last) / sizeof(V)] = result; });
    for (size_t pixel = 0; pixel < last; pixel += sizeof(V))
        if (!all_zero(load<V>(mask + pixel)))
            step(pixel, [&](size_t at, V result) { store(destination + at, result); });
    for (size_t k = 0; k < samples; ++k)
        store(destination + samples * last + k * sizeof(V), last_results[k]);
}

// Steps of one vector, whatever the samples belong to.
template <class V, class Result>
void walk(uint8_t *destination, size_t bytes, const Result &result) {
    const size_t last = bytes - sizeof(V);
    const V last_result = result(last);
    for (size_t at = 0; at < last; at += sizeof(V))
        store(destination + at, result(at));
    store(destination + last, last_result);
}

// --- the frames ---------------------------------------------------------------------------------

template <size_t samples, class Kernel>
constexpr Kernel *of_size(const BySize<Kernel> &kernels) {
    return samples == 1 ? kernels.grey : kernels.colour;
}

// Runs that are shorter than a step go to the same entry of the narrower forms' table.
template <class V, const EffectKernels &narrower>
struct WideEffects {
    template <Comparison comparison, size_t samples>
    static void select(uint8_t *selected, const uint8_t *weights, const uint8_t *base,
                       const uint8_t *overlay, size_t pixels) {
        if (pixels < sizeof(V)) {
            of_size<samples>(narrower.select[size_t(comparison)])(selected, weights, base, overlay,
                                                                  pixels);
            return;
        }
        walk<V>(selected, pixels, [=](size_t at) {
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
            walk_masked<V, samples>(destination, overlay, mask, pixels, ReliefOf<V>(strength));
    }

    template <size_t samples>
    static void subtract_masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *mask,
                                size_t pixels) {
        if (pixels < sizeof(V))
            of_size<samples>(narrower.subtract_masked)(destination, overlay, mask, pixels);
        else
            walk_masked<V, samples>(destination, overlay, mask, pixels, MaskedSubtractionOf<V>());
    }

    static void subtract_portion(uint8_t *destination, const uint8_t *overlay,
                                 std::uint32_t portion, size_t samples) {
        if (samples < sizeof(V)) {
            narrower.subtract_portion(destination, overlay, portion, samples);
            return;
        }
        const auto subtract = [&](const auto &effect) {
            walk<V>(destination, samples, [=](size_t at) {
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
