// The rules, pixel by pixel.
#include "display/kernels/colour_cube.h"
#include "display/kernels/show_kernels.h"

#include <algorithm>

namespace q32::display {
namespace {

// --- helpers -----------------------------------------------------------------------------------

struct Reached {
    bool red, green, blue;
    bool any() const { return red || green || blue; }
};

// The first pixel of eight is the highest bit. Bytes begin with all bits cleared.
void set_bit(std::uint8_t *bits, std::size_t pixel, bool set) {
    std::uint8_t &byte = bits[pixel / 8];
    if (pixel % 8 == 0)
        byte = 0;
    if (set)
        byte = std::uint8_t(byte | 0x80 >> pixel % 8);
}

// Where the fraction is large enough a sample counts as the next level.
std::uint8_t level(const CubeTables::Channel &tables, std::uint8_t sample, std::uint8_t threshold) {
    const bool steps_up = tables.fraction[sample] >= threshold;
    return std::uint8_t(tables.level[sample] + (steps_up ? 1 : 0));
}

// Eight bits cut to five. What lies between two of their values becomes the higher one where it
// reaches the threshold.
std::uint8_t five_bits(std::uint8_t sample, std::uint8_t threshold) {
    const std::uint8_t lower = sample & 0xF8;
    return (sample & 7) >= threshold ? std::uint8_t(lower + 8) : lower;
}

// What high_colour_tables makes of a sample that no gamma changes.
std::uint8_t high_colour_sample(std::uint8_t sample) {
    return std::uint8_t((sample * 248 + 127) / 255);
}

// --- the forms ---------------------------------------------------------------------------------

struct ScalarShows {
    static void colours_of_indices(std::uint8_t *rgb, const std::uint8_t *indices,
                                   const ColourEntries &entries, std::size_t pixels) {
        for (std::size_t i = 0; i < pixels; ++i, rgb += 3)
            std::copy_n(&entries[4 * std::size_t(indices[i])], 3, rgb);
    }

    static void grey_levels(std::uint8_t *levels, const std::uint8_t *greys, int shift,
                            std::size_t pixels) {
        for (std::size_t i = 0; i < pixels; ++i)
            levels[i] = std::uint8_t(greys[i] >> shift);
    }

    static void bits_of_greys(std::uint8_t *bits, const std::uint8_t *greys,
                              const Thresholds &thresholds, std::size_t pixels) {
        for (std::size_t i = 0; i < pixels; ++i)
            set_bit(bits, i, greys[i] >= thresholds[i % 8]);
    }

    static void cube_indices(std::uint8_t *indices, const std::uint8_t *rgb,
                             const Thresholds &thresholds, std::size_t pixels) {
        const CubeTables &cube = dithered_cube;
        for (std::size_t i = 0; i < pixels; ++i, rgb += 3) {
            const std::uint8_t threshold = thresholds[i % 8];
            indices[i] = std::uint8_t(cube.of_red[level(cube.red, rgb[0], threshold)] +
                                      cube.of_green[level(cube.green, rgb[1], threshold)] +
                                      cube.of_blue[level(cube.blue, rgb[2], threshold)]);
        }
    }

    static void planes(std::uint8_t *planes, std::size_t plane_bytes, const std::uint8_t *rgb,
                       const Thresholds &thresholds, std::size_t pixels) {
        std::fill_n(planes, 4 * plane_bytes, std::uint8_t(0));
        for (std::size_t i = 0; i < pixels; ++i, rgb += 3) {
            const std::uint8_t threshold = thresholds[i % 8];
            const Reached reached{rgb[0] >= threshold, rgb[1] >= threshold, rgb[2] >= threshold};
            set_bit(planes, i, reached.red);
            set_bit(planes + plane_bytes, i, reached.green);
            set_bit(planes + 2 * plane_bytes, i, reached.blue);
            set_bit(planes + 3 * plane_bytes, i, reached.any());
        }
    }

    static void correct(std::uint8_t *bgr, const std::uint8_t *rgb, const ScreenTables &tables,
                        std::size_t pixels) {
        for (std::size_t i = 0; i < pixels; ++i, bgr += 3, rgb += 3) {
            bgr[0] = tables.blue[rgb[2]];
            bgr[1] = tables.green[rgb[1]];
            bgr[2] = tables.red[rgb[0]];
        }
    }

    static void high_colour(std::uint8_t *bgr, const std::uint8_t *rgb, const ScreenTables &tables,
                            const Thresholds &thresholds, std::size_t pixels) {
        for (std::size_t i = 0; i < pixels; ++i, bgr += 3, rgb += 3) {
            const std::uint8_t threshold = thresholds[i % 8];
            bgr[0] = five_bits(tables.blue[rgb[2]], threshold);
            bgr[1] = five_bits(tables.green[rgb[1]], threshold);
            bgr[2] = five_bits(tables.red[rgb[0]], threshold);
        }
    }

    static void plain_high_colour(std::uint8_t *bgr, const std::uint8_t *rgb,
                                  const Thresholds &thresholds, std::size_t pixels) {
        for (std::size_t i = 0; i < pixels; ++i, bgr += 3, rgb += 3) {
            const std::uint8_t threshold = thresholds[i % 8];
            bgr[0] = five_bits(high_colour_sample(rgb[2]), threshold);
            bgr[1] = five_bits(high_colour_sample(rgb[1]), threshold);
            bgr[2] = five_bits(high_colour_sample(rgb[0]), threshold);
        }
    }
};

} // namespace

constexpr ShowKernels scalar_show_kernels = show_table<ScalarShows>();

} // namespace q32::display
