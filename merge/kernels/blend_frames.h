// The wide frames of blending: a run under a mask or under one weight, for any rule, either
// rounding, one or three samples in a pixel, and any width of vector.
//
// Private to the file that includes it, as arithmetic.h.
#pragma once

#include "merge/kernels/blend_table.h"
#include "merge/kernels/weighing.h"
#include "merge/kernels/weight_pairs.h"

#include <utility>

namespace q32::merge {
namespace {

// --- steps --------------------------------------------------------------------------------------

// sizeof(V) pixels under a mask.
template <class R, Rounding rounding, size_t samples, class V>
struct MaskedStep {
    static constexpr size_t pixels = sizeof(V);
    const uint8_t *destination, *overlay, *weights;

    template <class Take>
    void blend(size_t pixel, Take take) const {
        const WeightPairs<V, samples> pairs(weights + pixel);
        [&]<size_t... k>(std::index_sequence<k...>) {
            (take(k, one(samples * pixel + k * sizeof(V), pairs.template of<k>())), ...);
        }
        (std::make_index_sequence<samples>());
    }

    V one(size_t at, Pairs<V> pairs) const {
        const V s = load<V>(overlay + at), b = load<V>(destination + at);
        return blended<R, rounding>(s, b, pairs);
    }
};

template <class R, Rounding rounding, size_t samples, class V>
void blend_masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *weights,
                  const uint8_t *mask, size_t pixels, MaskedBlend *shorter) {
    using Step = MaskedStep<R, rounding, samples, V>;
    if (pixels < Step::pixels) {
        shorter(destination, overlay, weights, mask, pixels);
        return;
    }
    const Step step{destination, overlay, weights};
    const size_t last = pixels - Step::pixels;
    V last_results[samples];
    step.blend(last, [&](size_t k, V result) { last_results[k] = result; });
    for (size_t i = 0; i < last; i += Step::pixels)
        step.blend(i, [&](size_t k, V result) {
            store(destination + samples * i + k * sizeof(V), result);
        });
    for (size_t k = 0; k < samples; ++k)
        store(destination + samples * last + k * sizeof(V), last_results[k]);
}

template <class R, Rounding rounding, class V>
void blend_uniform(uint8_t *destination, const uint8_t *overlay, uint8_t weight, size_t samples,
                   UniformBlend *shorter) {
    if (samples < sizeof(V)) {
        shorter(destination, overlay, weight, samples);
        return;
    }
    const V w = repeat_byte<V>(weight);
    const V pair = interleave_low_bytes(w, ~w);
    const auto blend = [&](size_t at) {
        const V s = load<V>(overlay + at), b = load<V>(destination + at);
        return blended<R, rounding>(s, b, Pairs<V>{pair, pair});
    };
    const size_t last = samples - sizeof(V);
    const V last_result = blend(last);
    for (size_t at = 0; at < last; at += sizeof(V))
        store(destination + at, blend(at));
    store(destination + last, last_result);
}

// --- weights ------------------------------------------------------------------------------------

// Weights from mask bytes as words.
template <class V, class Map, class Shorter>
void map_weights(uint8_t *weights, const uint8_t *mask, size_t pixels, Map map, Shorter shorter) {
    if (pixels < sizeof(V)) {
        shorter(weights, mask, pixels);
        return;
    }
    const auto mapped = [&](size_t at) {
        const Pairs<V> words = interleaved(load<V>(mask + at), zero<V>());
        return pack_words(map(words.low), map(words.high));
    };
    const size_t last = pixels - sizeof(V);
    const V last_result = mapped(last);
    for (size_t at = 0; at < last; at += sizeof(V))
        store(weights + at, mapped(at));
    store(weights + last, last_result);
}

// --- the frames ---------------------------------------------------------------------------------

// Runs that are shorter than a step go to the same entry of the narrower forms' table.
template <class V, const BlendKernels &narrower>
struct WideFrames {
    template <class R, Rounding rounding, size_t samples>
    static void masked(uint8_t *destination, const uint8_t *overlay, const uint8_t *weights,
                       const uint8_t *mask, size_t pixels) {
        const Blend &shorter = narrower.blend[size_t(rounding)][size_t(R::rule)];
        if constexpr (!Premultiplied<R>)
            blend_masked<R, rounding, samples, V>(destination, overlay, weights, mask, pixels,
                                                  samples == 1 ? shorter.grey : shorter.colour);
        else
            (samples == 1 ? shorter.grey : shorter.colour)(destination, overlay, weights, mask,
                                                           pixels);
    }

    template <class R, Rounding rounding>
    static void uniform(uint8_t *destination, const uint8_t *overlay, uint8_t weight,
                        size_t samples) {
        blend_uniform<R, rounding, V>(destination, overlay, weight, samples,
                                      narrower.blend[size_t(rounding)][size_t(R::rule)].uniform);
    }

    static void percent_weights(uint8_t *weights, const uint8_t *mask, int percent, size_t pixels) {
        const V factor = repeat_word<V>(percent);
        map_weights<V>(
            weights, mask, pixels,
            [factor](V words) {
                return words_down<3>(
                    multiply_high(multiply_low(words, factor), repeat_word<V>(5243)));
            },
            [percent](uint8_t *to, const uint8_t *from, size_t count) {
                narrower.percent_weights(to, from, percent, count);
            });
    }

    static void scaled_weights(uint8_t *weights, const uint8_t *mask, uint8_t scale,
                               size_t pixels) {
        const V factor = repeat_word<V>(scale);
        map_weights<V>(
            weights, mask, pixels,
            [factor](V words) { return words_down<8>(multiply_low(words, factor)); },
            [scale](uint8_t *to, const uint8_t *from, size_t count) {
                narrower.scaled_weights(to, from, scale, count);
            });
    }
};

} // namespace
} // namespace q32::merge
