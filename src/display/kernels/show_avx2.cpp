// Showing for AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says why).
#include "display/kernels/show_forms.h"
#include "display/kernels/show_wide.h"
#include "rows/kernels/wide.h"

namespace q32::display {
namespace {

void grey_levels_shorter(uint8_t *levels, const uint8_t *greys, int shift, size_t pixels) {
    run_grey_levels<V16>(levels, greys, shift, pixels, grey_levels);
}

void bits_of_greys_shorter(uint8_t *bits, const uint8_t *greys, const Thresholds &thresholds,
                           size_t pixels) {
    run_bits_of_greys<V16>(bits, greys, thresholds, pixels, bits_of_greys);
}

void cube_indices_shorter(uint8_t *indices, const uint8_t *rgb, const Thresholds &thresholds,
                          size_t pixels) {
    run_cube_indices<V16>(indices, rgb, thresholds, pixels, cube_indices);
}

void planes_shorter(uint8_t *planes, size_t plane_bytes, const uint8_t *rgb,
                    const Thresholds &thresholds, size_t pixels) {
    run_planes<V16>(planes, plane_bytes, rgb, thresholds, pixels, display::planes);
}

void high_colour_shorter(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables,
                         const Thresholds &thresholds, size_t pixels) {
    run_high_colour<V16>(bgr, rgb, tables, thresholds, pixels, correct_sse2, high_colour);
}

void plain_high_colour_shorter(uint8_t *bgr, const uint8_t *rgb, const Thresholds &thresholds,
                               size_t pixels) {
    run_plain_high_colour<V16>(bgr, rgb, thresholds, pixels, plain_high_colour);
}

} // namespace

void colours_of_indices_avx2(uint8_t *rgb, const uint8_t *indices, const ColourEntries &entries,
                             size_t pixels) {
    run_colours_of_indices(rgb, indices, entries, pixels, colours_of_indices_sse2);
}

void grey_levels_avx2(uint8_t *levels, const uint8_t *greys, int shift, size_t pixels) {
    run_grey_levels<V32>(levels, greys, shift, pixels, grey_levels_shorter);
}

void bits_of_greys_avx2(uint8_t *bits, const uint8_t *greys, const Thresholds &thresholds,
                        size_t pixels) {
    run_bits_of_greys<V32>(bits, greys, thresholds, pixels, bits_of_greys_shorter);
}

void cube_indices_avx2(uint8_t *indices, const uint8_t *rgb, const Thresholds &thresholds,
                       size_t pixels) {
    run_cube_indices<V32>(indices, rgb, thresholds, pixels, cube_indices_shorter);
}

void planes_avx2(uint8_t *planes, size_t plane_bytes, const uint8_t *rgb,
                 const Thresholds &thresholds, size_t pixels) {
    run_planes<V32>(planes, plane_bytes, rgb, thresholds, pixels, planes_shorter);
}

// In one go it takes an eighth longer: three lookups and the swapping are more than eight registers
// and what the processor sees at a time.
void correct_avx2(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables, size_t pixels) {
    rows::map_24_avx2(bgr, rgb, tables.red.data(), pixels);
    rows::swap_red_blue_avx2(bgr, bgr, pixels);
}

void high_colour_avx2(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables,
                      const Thresholds &thresholds, size_t pixels) {
    run_high_colour<V32>(bgr, rgb, tables, thresholds, pixels, correct_avx2, high_colour_shorter);
}

void plain_high_colour_avx2(uint8_t *bgr, const uint8_t *rgb, const Thresholds &thresholds,
                            size_t pixels) {
    run_plain_high_colour<V32>(bgr, rgb, thresholds, pixels, plain_high_colour_shorter);
}

} // namespace q32::display
