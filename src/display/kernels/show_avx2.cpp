// Showing for AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says why).
#include "display/kernels/show_forms.h"
#include "rows/kernels/row_kernels.h"

namespace q32::display {
namespace {

constexpr ShowKernels shorter_show_kernels = show_table<WideShows<V16, scalar_show_kernels>>();

struct ShowsOf32Bytes : WideShows<V32, shorter_show_kernels> {
    // Looked up by the kernel that rows have for it. Pixel by pixel takes 0.9 of the time where the
    // picture lies in the cache, and 1.3 where it does not. In one go with the swapping it takes an
    // eighth longer: that is more than eight registers and what the processor sees at a time.
    static void correct(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables,
                        size_t pixels) {
        if (pixels < sizeof(V32)) {
            shorter_show_kernels.correct(bgr, rgb, tables, pixels);
            return;
        }
        rows::avx2_row_kernels.map_24(bgr, rgb, tables.red.data(), pixels);
        rows::avx2_row_kernels.swap_red_blue(bgr, bgr, pixels);
    }

    static void high_colour(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables,
                            const Thresholds &thresholds, size_t pixels) {
        const size_t whole = pixels - pixels % sizeof(V32);
        if (whole > 0) {
            correct(bgr, rgb, tables, whole);
            walk_dithered<FiveBitsStep<V32>>(bgr, bgr, thresholds, whole);
        }
        shorter_show_kernels.high_colour(bgr + 3 * whole, rgb + 3 * whole, tables, thresholds,
                                         pixels - whole);
    }
};

} // namespace

constexpr ShowKernels avx2_show_kernels = show_table<ShowsOf32Bytes>();

} // namespace q32::display
