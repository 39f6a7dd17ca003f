// How runs are walked in steps: the one place that knows about their ends.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "display/kernels/show_scalar.h"
#include "display/kernels/show_steps.h"
#include "rows/kernels/runs.h"

namespace q32::display {
namespace {

// As rows::run, for steps that compare with thresholds: the last step is moved back so that it ends
// with the run, and sees them from there.
template <class Step, class Shorter>
void run_dithered(uint8_t *destination, const uint8_t *source, const Thresholds &thresholds,
                  size_t pixels, Shorter shorter) {
    if (pixels < Step::units) {
        shorter();
        return;
    }
    const size_t last = pixels - Step::units;
    const Step last_step(seen_from(thresholds, last));
    const auto last_loaded = last_step.load(source + last * Step::source_bytes);
    const Step step(thresholds);
    for (size_t done = 0; done < last; done += Step::units)
        step.store(destination + done * Step::destination_bytes,
                   step.load(source + done * Step::source_bytes));
    last_step.store(destination + last * Step::destination_bytes, last_loaded);
}

template <class V>
void run_grey_levels(uint8_t *levels, const uint8_t *greys, int shift, size_t pixels,
                     GreyLevels *shorter) {
    rows::run(
        levels, greys, pixels, GreyLevelsStep<V>(shift),
        [=](uint8_t *to, const uint8_t *from, size_t count) { shorter(to, from, shift, count); });
}

// The pixels of a last, incomplete byte go to the scalar form.
template <class V>
void run_bits_of_greys(uint8_t *bits, const uint8_t *greys, const Thresholds &thresholds,
                       size_t pixels, BitsOfGreys *shorter) {
    const size_t groups = pixels / 8;
    rows::run(bits, greys, groups, BitsOfGreysStep<V>(thresholds),
              [&](uint8_t *to, const uint8_t *from, size_t count) {
                  shorter(to, from, thresholds, 8 * count);
              });
    bits_of_greys(bits + groups, greys + 8 * groups, thresholds, pixels % 8);
}

template <class V>
void run_cube_indices(uint8_t *indices, const uint8_t *rgb, const Thresholds &thresholds,
                      size_t pixels, CubeIndices *shorter) {
    run_dithered<CubeIndicesStep<V>>(indices, rgb, thresholds, pixels,
                                     [&] { shorter(indices, rgb, thresholds, pixels); });
}

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
    const Step step(thresholds);
    const size_t last = groups - Step::units;
    for (size_t done = 0; done < last; done += Step::units)
        step(planes + done, plane_bytes, rgb + done * Step::source_bytes);
    step(planes + last, plane_bytes, rgb + last * Step::source_bytes);

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

#ifdef __AVX2__
template <class V>
void run_correct(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables, size_t pixels,
                 Correction *shorter) {
    const auto run_shorter = [&](uint8_t *to, const uint8_t *from, size_t count) {
        shorter(to, from, tables, count);
    };
    using Step = CorrectStep<V>;
    if (pixels < Step::units)
        run_shorter(bgr, rgb, pixels);
    else
        rows::run(bgr, rgb, pixels, Step(tables), run_shorter);
}
#endif

// What the tables gave is dithered where it lies.
template <class V>
void run_high_colour(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables,
                     const Thresholds &thresholds, size_t pixels, Correction *correct,
                     HighColour *shorter) {
    using Step = FiveBitsStep<V>;
    if (pixels >= Step::units)
        correct(bgr, rgb, tables, pixels);
    run_dithered<Step>(bgr, bgr, thresholds, pixels,
                       [&] { shorter(bgr, rgb, tables, thresholds, pixels); });
}

template <class V>
void run_plain_high_colour(uint8_t *bgr, const uint8_t *rgb, const Thresholds &thresholds,
                           size_t pixels, PlainHighColour *shorter) {
    run_dithered<PlainHighColourStep<V>>(bgr, rgb, thresholds, pixels,
                                         [&] { shorter(bgr, rgb, thresholds, pixels); });
}

} // namespace
} // namespace q32::display
