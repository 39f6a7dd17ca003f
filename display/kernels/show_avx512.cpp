// Showing for AVX-512 with VBMI, 64 bytes at a time.
#include "display/kernels/show_walks.h"
#include "display/kernels/show_wide.h"

namespace q32::display {

void bits_of_greys_avx512(uint8_t *bits, const uint8_t *greys, const Thresholds &thresholds,
                          size_t pixels) {
    run_bits_of_greys<V64>(bits, greys, thresholds, pixels, bits_of_greys_avx2);
}

void cube_indices_avx512(uint8_t *indices, const uint8_t *rgb, const Thresholds &thresholds,
                         size_t pixels) {
    run_cube_indices<V64>(indices, rgb, thresholds, pixels, cube_indices_avx2);
}

void planes_avx512(uint8_t *planes, size_t plane_bytes, const uint8_t *rgb,
                   const Thresholds &thresholds, size_t pixels) {
    run_planes<V64>(planes, plane_bytes, rgb, thresholds, pixels, planes_avx2);
}

void correct_avx512(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables, size_t pixels) {
    run_correct<V64>(bgr, rgb, tables, pixels, correct_avx2);
}

void high_colour_avx512(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables,
                        const Thresholds &thresholds, size_t pixels) {
    run_high_colour<V64>(bgr, rgb, tables, thresholds, pixels, correct_avx512, high_colour_avx2);
}

void plain_high_colour_avx512(uint8_t *bgr, const uint8_t *rgb, const Thresholds &thresholds,
                              size_t pixels) {
    run_plain_high_colour<V64>(bgr, rgb, thresholds, pixels, plain_high_colour_avx2);
}

} // namespace q32::display
