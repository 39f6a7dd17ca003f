// The wide forms of showing: every kernel as a walk in steps.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "display/kernels/show_steps.h"
#include "simd/walk.h"

namespace q32::display {
namespace {

// --- walks ---------------------------------------------------------------------------------------

// Steps that compare with thresholds. One that is moved back sees them from there. The runs do not
// overlap; whole steps may go in place.
template <class Step, class... Tables>
void walk_dithered(uint8_t *destination, const uint8_t *source, const Thresholds &thresholds,
                   size_t pixels, const Tables &...tables) {
    const auto convert = [=](const Step &step, size_t at) {
        step.store(destination + at * Step::destination_bytes,
                   step.load(source + at * Step::source_bytes));
    };
    const Step step(tables..., thresholds);
    walk_apart<Step::units>(
        pixels, [&](size_t at) { convert(step, at); },
        [&](size_t at) { convert(Step(tables..., seen_from(thresholds, at)), at); });
}

// Three bytes each, the first lowest. Each pixel is stored with a byte too many, which the next one
// overwrites; the last is not.
template <class PixelOf>
void store_pixels(uint8_t *pixels, size_t count, PixelOf pixel_of) {
    if (count == 0)
        return;
    const size_t last = count - 1;
    for (size_t i = 0; i < last; ++i) {
        const std::uint32_t pixel = pixel_of(i);
        std::memcpy(pixels + 3 * i, &pixel, 4);
    }
    const std::uint32_t pixel = pixel_of(last);
    std::memcpy(pixels + 3 * last, &pixel, 3);
}

// --- the forms -----------------------------------------------------------------------------------

// Runs that are shorter than a step go to the same entry of the narrower forms' table. The pixels
// of a last, incomplete byte of bits go to the scalar form.
template <class V, const ShowKernels &narrower>
struct WideShows {
    // Four at a time where bytes can be shuffled. Each store has four bytes too many, which the
    // next one overwrites.
    static void colours_of_indices(uint8_t *rgb, const uint8_t *indices,
                                   const ColourEntries &entries, size_t pixels) {
        size_t done = 0;
#ifdef __SSE4_1__
        for (; 3 * (pixels - done) >= sizeof(V16); done += 4)
            simd::store(rgb + 3 * done, four_colours(indices + done, entries));
#endif
        store_pixels(rgb + 3 * done, pixels - done, [indices = indices + done, &entries](size_t i) {
            return colour_of_index(indices[i], entries);
        });
    }

    static void grey_levels(uint8_t *levels, const uint8_t *greys, int shift, size_t pixels) {
        if (pixels < sizeof(V)) {
            narrower.grey_levels(levels, greys, shift, pixels);
            return;
        }
        const GreyLevelsStep<V> step(shift);
        walk(pixels, ConversionStep<GreyLevelsStep<V>>{levels, greys, step});
    }

    static void bits_of_greys(uint8_t *bits, const uint8_t *greys, const Thresholds &thresholds,
                              size_t pixels) {
        if (pixels < sizeof(V)) {
            narrower.bits_of_greys(bits, greys, thresholds, pixels);
            return;
        }
        const size_t groups = pixels / 8;
        const BitsOfGreysStep<V> step(thresholds);
        walk(groups, ConversionStep<BitsOfGreysStep<V>>{bits, greys, step});
        if (pixels % 8 != 0)
            scalar_show_kernels.bits_of_greys(bits + groups, greys + 8 * groups, thresholds,
                                              pixels % 8);
    }

    static void cube_indices(uint8_t *indices, const uint8_t *rgb, const Thresholds &thresholds,
                             size_t pixels) {
        if (pixels < sizeof(V))
            narrower.cube_indices(indices, rgb, thresholds, pixels);
        else
            walk_dithered<CubeIndicesStep<V>>(indices, rgb, thresholds, pixels);
    }

    // What planes have beyond the pixels is cleared.
    static void planes(uint8_t *planes, size_t plane_bytes, const uint8_t *rgb,
                       const Thresholds &thresholds, size_t pixels) {
        if (pixels < sizeof(V)) {
            narrower.planes(planes, plane_bytes, rgb, thresholds, pixels);
            return;
        }
        const size_t groups = pixels / 8;
        const PlanesStep<V> step(thresholds);
        const auto make = [=](size_t group) {
            step(planes + group, plane_bytes, rgb + 24 * group);
        };
        walk_apart<PlanesStep<V>::units>(groups, make, make);
        if (groups == plane_bytes)
            return;
        uint8_t ends[4];
        scalar_show_kernels.planes(ends, 1, rgb + 24 * groups, thresholds, pixels % 8);
        for (const uint8_t end : ends) {
            planes[groups] = end;
            std::memset(planes + groups + 1, 0, plane_bytes - groups - 1);
            planes += plane_bytes;
        }
    }

    static void correct(uint8_t *bgr, const uint8_t *rgb, const ScreenTables &tables,
                        size_t pixels) {
        store_pixels(bgr, pixels, [rgb, &tables](size_t i) {
            const uint8_t *const pixel = rgb + 3 * i;
            return std::uint32_t(tables.blue[pixel[2]] | tables.green[pixel[1]] << 8 |
                                 tables.red[pixel[0]] << 16);
        });
    }

    // Corrected, and dithered where the samples lie then: in whole steps, as nothing may be
    // dithered twice. What is left begins with the first threshold again.
    static void high_colour(uint8_t *bgr, const uint8_t *rgb, const ScreenTables &tables,
                            const Thresholds &thresholds, size_t pixels) {
        const size_t whole = pixels - pixels % sizeof(V);
        if (whole > 0) {
            correct(bgr, rgb, tables, whole);
            walk_dithered<FiveBitsStep<V>>(bgr, bgr, thresholds, whole);
        }
        narrower.high_colour(bgr + 3 * whole, rgb + 3 * whole, tables, thresholds, pixels - whole);
    }

    static void plain_high_colour(uint8_t *bgr, const uint8_t *rgb, const Thresholds &thresholds,
                                  size_t pixels) {
        if (pixels < sizeof(V))
            narrower.plain_high_colour(bgr, rgb, thresholds, pixels);
        else
            walk_dithered<PlainHighColourStep<V>>(bgr, rgb, thresholds, pixels);
    }
};

} // namespace
} // namespace q32::display
