// Showing for SSE4.1, 16 bytes at a time with byte shuffles.
#include "display/kernels/show_forms.h"
#include "display/kernels/show_wide.h"

namespace q32::display {

void colours_of_indices_sse41(uint8_t *rgb, const uint8_t *indices, const ColourEntries &entries,
                              size_t pixels) {
    run_colours_of_indices(rgb, indices, entries, pixels, colours_of_indices_sse2);
}

void bits_of_greys_sse41(uint8_t *bits, const uint8_t *greys, const Thresholds &thresholds,
                         size_t pixels) {
    run_bits_of_greys<V16>(bits, greys, thresholds, pixels, bits_of_greys_sse2);
}

void cube_indices_sse41(uint8_t *indices, const uint8_t *rgb, const Thresholds &thresholds,
                        size_t pixels) {
    run_cube_indices<V16>(indices, rgb, thresholds, pixels, cube_indices_sse2);
}

void planes_sse41(uint8_t *planes, size_t plane_bytes, const uint8_t *rgb,
                  const Thresholds &thresholds, size_t pixels) {
    run_planes<V16>(planes, plane_bytes, rgb, thresholds, pixels, planes_sse2);
}

void plain_high_colour_sse41(uint8_t *bgr, const uint8_t *rgb, const Thresholds &thresholds,
                             size_t pixels) {
    run_plain_high_colour<V16>(bgr, rgb, thresholds, pixels, plain_high_colour_sse2);
}

} // namespace q32::display
