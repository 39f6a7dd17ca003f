// The kernels as walks in steps.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "display/kernels/show_scalar.h"
#include "display/kernels/show_steps.h"
#include "simd/walk.h"

#include <cstring>
#include <tuple>

namespace q32::display {
namespace {

// The runs do not overlap: a last step takes nothing out of memory before the others.
struct Nothing {};

// Steps that compare with thresholds. One that is moved back sees them from there.
template <class Step, class Shorter>
void run_dithered(uint8_t *destination, const uint8_t *source, const Thresholds &thresholds,
                  size_t pixels, Shorter shorter) {
    if (pixels < Step::units) {
        shorter();
        return;
    }
    const auto convert = [=](const Step &step, size_t at) {
        step.store(destination + at * Step::destination_bytes,
                   step.load(source + at * Step::source_bytes));
    };
    const Step step(thresholds);
    walk_apart<Step::units>(
        pixels, [&](size_t at) { convert(step, at); },
        [&](size_t at) { convert(Step(seen_from(thresholds, at)), at); });
}

// Samples that were made ready in the destination are dithered where they lie, in whole steps, and
// none twice. These are whole rows of thresholds, too: the rest, which is left to the shorter form,
// begins with the first.
template <class Step, class MakeReady, class Shorter>
void run_in_place(uint8_t *samples, const Thresholds &thresholds, size_t pixels,
                  MakeReady make_ready, Shorter shorter) {
    static_assert(Step::units % std::tuple_size_v<Thresholds> == 0);
    const size_t whole = pixels - pixels % Step::units;
    if (whole > 0) {
        make_ready(whole);
        const Step step(thresholds);
        for (size_t done = 0; done < whole; done += Step::units)
            step.store(samples + 3 * done, step.load(samples + 3 * done));
    }
    if (whole < pixels)
        shorter(whole);
}

#ifdef __SSE4_1__
// Four colours to twelve bytes. Each store has four bytes too many, which the next one overwrites.
inline void run_colours_of_indices(uint8_t *rgb, const uint8_t *indices,
                                   const ColourEntries &entries, size_t pixels,
                                   ColoursOfIndices *shorter) {
    static constexpr LaneBytes three_of_four =
        lane_by([](int i) { return i < 12 ? i / 3 * 4 + i % 3 : nothing; });
    const auto colour = [&entries](const uint8_t *index) {
        int bytes;
        std::memcpy(&bytes, &entries[4 * size_t(*index)], sizeof bytes);
        return bytes;
    };
    size_t done = 0;
    for (; 3 * (pixels - done) >= sizeof(V16); done += 4) {
        const uint8_t *const four = indices + done;
        V16 colours = _mm_cvtsi32_si128(colour(four));
        colours = _mm_insert_epi32(colours, colour(four + 1), 1);
        colours = _mm_insert_epi32(colours, colour(four + 2), 2);
        colours = _mm_insert_epi32(colours, colour(four + 3), 3);
        simd::store(rgb + 3 * done, shuffle_u8(colours, as_vector<V16>(three_of_four)));
    }
    shorter(rgb + 3 * done, indices + done, entries, pixels - done);
}
#endif

template <class V>
void run_grey_levels(uint8_t *levels, const uint8_t *greys, int shift, size_t pixels,
                     GreyLevels *shorter) {
    convert_run(
        levels, greys, pixels, GreyLevelsStep<V>(shift),
        [=](uint8_t *to, const uint8_t *from, size_t count) { shorter(to, from, shift, count); });
}

// The pixels of a last, incomplete byte go to the scalar form.
template <class V>
void run_bits_of_greys(uint8_t *bits, const uint8_t *greys, const Thresholds &thresholds,
                       size_t pixels, BitsOfGreys *shorter) {
    const size_t groups = pixels / 8;
    convert_run(bits, greys, groups, BitsOfGreysStep<V>(thresholds),
                [&](uint8_t *to, const uint8_t *from, size_t count) {
                    shorter(to, from, thresholds, 8 * count);
                });
    if (pixels % 8 != 0)
        bits_of_greys(bits + groups, greys + 8 * groups, thresholds, pixels % 8);
}

template <class V>
void run_cube_indices(uint8_t *indices, const uint8_t *rgb, const Thresholds &thresholds,
                      size_t pixels, CubeIndices *shorter) {
    run_dithered<CubeIndicesStep<V>>(indices, rgb, thresholds, pixels,
                                     [&] { shorter(indices, rgb, thresholds, pixels); });
}

template <class Step>
struct StepOfPlanes {
    static constexpr size_t units = Step::units;

    uint8_t *planes;
    size_t plane_bytes;
    const uint8_t *rgb;
    Step step;

    Nothing held(size_t) const { return {}; }
    void make(size_t at, Nothing = {}) const {
        step(planes + at, plane_bytes, rgb + at * Step::source_bytes);
    }
};

// The pixels of a last, incomplete byte go to the scalar form; what planes have beyond is cleared.
template <class V>
void run_planes(uint8_t *planes, size_t plane_bytes, const uint8_t *rgb,
                const Thresholds &thresholds, size_t pixels, Planes *shorter) {
    using Step = PlanesStep<V>;
    const size_t groups = pixels / 8;
    if (groups < Step::units) {
        shorter(planes, plane_bytes, rgb, thresholds, pixels);
        return;
    }
    walk(groups, StepOfPlanes<Step>{planes, plane_bytes, rgb, Step(thresholds)});
    if (groups == plane_bytes)
        return;
    uint8_t ends[4];
    display::planes(ends, 1, rgb + groups * Step::source_bytes, thresholds, pixels % 8);
    for (const uint8_t end : ends) {
        planes[groups] = end;
        std::memset(planes + groups + 1, 0, plane_bytes - groups - 1);
        planes += plane_bytes;
    }
}

template <class V>
void run_high_colour(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables,
                     const Thresholds &thresholds, size_t pixels, Correction *correct,
                     HighColour *shorter) {
    run_in_place<FiveBitsStep<V>>(
        bgr, thresholds, pixels, [&](size_t whole) { correct(bgr, rgb, tables, whole); },
        [&](size_t whole) {
            shorter(bgr + 3 * whole, rgb + 3 * whole, tables, thresholds, pixels - whole);
        });
}

template <class V>
void run_plain_high_colour(uint8_t *bgr, const uint8_t *rgb, const Thresholds &thresholds,
                           size_t pixels, PlainHighColour *shorter) {
    run_dithered<PlainHighColourStep<V>>(bgr, rgb, thresholds, pixels,
                                         [&] { shorter(bgr, rgb, thresholds, pixels); });
}

} // namespace
} // namespace q32::display
