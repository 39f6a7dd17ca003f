// What one step of a wide run does, for any rule, either rounding, one or three samples in a pixel,
// and any width of vector.
//
// A step has
//   Vector, units     how many units (pixels or samples) it takes, and in what
//   results           how many vectors they come to
//   each(at, take)    take(k, result) for each of them, from unit `at` on
//   put(to, k, v)     stores result k of the units that begin at `to`
//   bytes             of a unit at the destination
//   shortcut(to, at)  true where the units needed less than that, and have it
//
// Private to the file that includes it, as rules.h.
#pragma once

#include "merge/kernels/unpremultiply.h"
#include "merge/kernels/weighing.h"
#include "merge/kernels/weight_pairs.h"
#include "simd/walk.h"

#include <type_traits>
#include <utility>

namespace q32::merge {
namespace {

// --- helpers ------------------------------------------------------------------------------------

template <class Action, size_t... k>
void for_each(std::index_sequence<k...>, Action action) {
    (action(std::integral_constant<size_t, k>()), ...);
}

// As walk() knows steps: of the last one the results are held.
template <class Step>
struct ResultStep {
    static constexpr size_t units = Step::units;
    struct Results {
        typename Step::Vector v[Step::results];
    };

    uint8_t *destination;
    Step step;

    Results held(size_t at) const {
        Results results;
        step.each(at, [&](size_t k, auto result) { results.v[k] = result; });
        return results;
    }
    void make(size_t at) const {
        uint8_t *const to = destination + at * Step::bytes;
        if (!step.shortcut(to, at))
            step.each(at, [to](size_t k, auto result) { Step::put(to, k, result); });
    }
    void make(size_t at, const Results &results) const {
        for (size_t k = 0; k < Step::results; ++k)
            Step::put(destination + at * Step::bytes, k, results.v[k]);
    }
};

// Of at least one step.
template <class Step>
void walk_results(uint8_t *destination, size_t units, const Step &step) {
    walk(units, ResultStep<Step>{destination, step});
}

template <class V, size_t vectors = 1>
struct PlainStep {
    using Vector = V;
    static constexpr size_t units = sizeof(V), bytes = vectors, results = vectors;

    static void put(uint8_t *to, size_t k, V v) { store(to + k * sizeof(V), v); }
    static bool shortcut(uint8_t *, size_t) { return false; }
};

// --- blends -------------------------------------------------------------------------------------

// Pixels under a mask. Most vectors of real masks are all 0 or all 255: looking for the zeros costs
// a tenth of a normal blend where there are none, and saves all of it where there are.
template <class R, Rounding rounding, size_t samples, class V>
struct PlainMaskedStep : PlainStep<V, samples> {
    const uint8_t *destination, *overlay, *weights;

    PlainMaskedStep(const uint8_t *d, const uint8_t *o, const uint8_t *w, const uint8_t *)
        : destination(d), overlay(o), weights(w) {}

    bool shortcut(uint8_t *, size_t pixel) const { return all_zero(load<V>(weights + pixel)); }

    template <class Take>
    void each(size_t pixel, Take take) const {
        const WeightPairs<V, samples> pairs(weights + pixel);
        for_each(std::make_index_sequence<samples>(), [&](auto k) {
            const size_t at = samples * pixel + k * sizeof(V);
            take(k, blended<R, rounding>(load<V>(overlay + at), load<V>(destination + at),
                                         pairs.template of<k>()));
        });
    }
};

// Premultiplied pixels: each lane has its own sixteen, but for vectors of 64 bytes. Where the mask
// is 255 they stay as they are.
template <class R, Rounding rounding, size_t samples, class V>
struct PremultipliedStep {
    using Vector = V;
    static constexpr size_t units = sizeof(V), bytes = samples, results = samples;
    const uint8_t *destination, *overlay, *weights, *mask;

    PremultipliedStep(const uint8_t *d, const uint8_t *o, const uint8_t *w, const uint8_t *m)
        : destination(d), overlay(o), weights(w), mask(m) {}

    bool shortcut(uint8_t *to, size_t pixel) const {
        const V m = load<V>(mask + pixel);
        if (all_zero(m))
            return true;
        if (!all_zero(complement(m)))
            return false;
        using Plain = PlainMaskedStep<Normal, rounding, samples, V>;
        Plain(destination, overlay, weights, mask).each(pixel, [to](size_t k, V result) {
            Plain::put(to, k, result);
        });
        return true;
    }

    template <class Take>
    void each(size_t pixel, Take take) const {
        const V m = load<V>(mask + pixel), w = keep_where_set_u8(m, load<V>(weights + pixel));
        using Wide = Unpremultiplication<V, samples>;
        const Wide unpremultiplication(m);
        for_each(std::make_index_sequence<samples>(), [&](auto k) {
            const V limits = spread_bytes<samples, k>(m);
            V over_black = R::over_black(get(overlay + samples * pixel, k), limits);
            if constexpr (Wide::within_mask && !R::within_mask)
                over_black = min_u8(over_black, limits);
            const V overlaid = unpremultiplication.template of<k>(over_black);
            take(k, blended<Normal, rounding>(overlaid, get(destination + samples * pixel, k),
                                              spread_pairs<samples, k>(w)));
        });
    }

    static V get(const uint8_t *from, size_t k) {
        if constexpr (lanes_have_own_pixels<V>)
            return load_lanes<V>(from + 16 * k, 16 * samples);
        else
            return load<V>(from + sizeof(V) * k);
    }
    static void put(uint8_t *to, size_t k, V v) {
        if constexpr (lanes_have_own_pixels<V>)
            store_lanes(to + 16 * k, 16 * samples, v);
        else
            store(to + sizeof(V) * k, v);
    }
};

template <class R, Rounding rounding, size_t samples, class V>
using MaskedStep = std::conditional_t<Premultiplied<R>, PremultipliedStep<R, rounding, samples, V>,
                                      PlainMaskedStep<R, rounding, samples, V>>;

// Samples under one weight.
template <class R, Rounding rounding, class V>
struct UniformStep : PlainStep<V> {
    const uint8_t *destination, *overlay;
    Pairs<V> weights;

    UniformStep(const uint8_t *d, const uint8_t *o, uint8_t weight)
        : destination(d), overlay(o),
          weights(pairs_u8(repeat_u8<V>(weight), repeat_u8<V>(uint8_t(255 - weight)))) {}

    template <class Take>
    void each(size_t at, Take take) const {
        take(0, blended<R, rounding>(load<V>(overlay + at), load<V>(destination + at), weights));
    }
};

// --- single vectors -----------------------------------------------------------------------------

// Whatever result(at) gives.
template <class V, class Result>
struct VectorStep : PlainStep<V> {
    Result result;

    explicit VectorStep(Result r) : result(r) {}

    template <class Take>
    void each(size_t at, Take take) const {
        take(0, result(at));
    }
};

template <class V, class Result>
void walk_vectors(uint8_t *destination, size_t bytes, const Result &result) {
    walk_results(destination, bytes, VectorStep<V, Result>(result));
}

} // namespace
} // namespace q32::merge
