// Showing for the baseline, 16 bytes at a time and without a byte shuffle. What is looked up in
// tables is looked up pixel by pixel, but moved four bytes at a time.
#include "display/kernels/show_forms.h"
#include "display/kernels/show_wide.h"
#include "rows/kernels/wide.h"

namespace q32::display {
namespace {

// Each pixel is stored with a byte too many, which the next one overwrites; the last is not.
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

} // namespace

void colours_of_indices_sse2(uint8_t *rgb, const uint8_t *indices, const ColourEntries &entries,
                             size_t pixels) {
    store_pixels(rgb, pixels, [indices, &entries](size_t i) {
        std::uint32_t colour;
        std::memcpy(&colour, &entries[4 * size_t(indices[i])], sizeof colour);
        return colour;
    });
}

void grey_levels_sse2(uint8_t *levels, const uint8_t *greys, int shift, size_t pixels) {
    run_grey_levels<V16>(levels, greys, shift, pixels, grey_levels);
}

void bits_of_greys_sse2(uint8_t *bits, const uint8_t *greys, const Thresholds &thresholds,
                        size_t pixels) {
    run_bits_of_greys<V16>(bits, greys, thresholds, pixels, bits_of_greys);
}

void cube_indices_sse2(uint8_t *indices, const uint8_t *rgb, const Thresholds &thresholds,
                       size_t pixels) {
    run_cube_indices<V16>(indices, rgb, thresholds, pixels, cube_indices);
}

void planes_sse2(uint8_t *planes, size_t plane_bytes, const uint8_t *rgb,
                 const Thresholds &thresholds, size_t pixels) {
    run_planes<V16>(planes, plane_bytes, rgb, thresholds, pixels, display::planes);
}

void correct_sse2(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables, size_t pixels) {
    store_pixels(bgr, pixels, [rgb, &tables](size_t i) {
        const uint8_t *const pixel = rgb + 3 * i;
        return std::uint32_t(tables.blue[pixel[2]] | tables.green[pixel[1]] << 8 |
                             tables.red[pixel[0]] << 16);
    });
}

void high_colour_sse2(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables,
                      const Thresholds &thresholds, size_t pixels) {
    run_high_colour<V16>(bgr, rgb, tables, thresholds, pixels, correct_sse2, high_colour);
}

// Swapped first; the arithmetic is the same for all channels.
void plain_high_colour_sse2(uint8_t *bgr, const uint8_t *rgb, const Thresholds &thresholds,
                            size_t pixels) {
    run_in_place<PlainHighColourStep<V16>>(
        bgr, thresholds, pixels, [&](size_t whole) { rows::swap_red_blue_sse2(bgr, rgb, whole); },
        [&](size_t whole) {
            plain_high_colour(bgr + 3 * whole, rgb + 3 * whole, thresholds, pixels - whole);
        });
}

} // namespace q32::display
