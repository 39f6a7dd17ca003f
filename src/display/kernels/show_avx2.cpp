// Showing for AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says why).
#include "display/kernels/curve_lookup.h"
#include "display/kernels/show_forms.h"
#include "rows/kernels/row_kernels.h"

namespace q32::display {
namespace {

constexpr ShowKernels shorter_show_kernels = show_table<WideShows<V16, scalar_show_kernels>>();

// --- channels that exchange their places ---------------------------------------------------------

// Each lane of three vectors has sixteen pixels in a row. Of three places in a row, one has its
// channel in its own vector; at the other two, two vectors exchange theirs. That gives red, blue
// and green, and from them vectors of pixels again. Where choices of bytes are several operations,
// that is less work than to choose.
constexpr LaneBytes every_third(int place) {
    return lane_by([=](int i) { return i % 3 == place ? 0xFF : 0; });
}
constexpr LaneBytes thirds[3] = {every_third(0), every_third(1), every_third(2)};

PixelVectors<V32> exchanged(const PixelVectors<V32> &of) {
    const V32 in_12 = (of.v[1] ^ of.v[2]) & as_vector<V32>(thirds[0]);
    const V32 in_02 = (of.v[0] ^ of.v[2]) & as_vector<V32>(thirds[1]);
    const V32 in_01 = (of.v[0] ^ of.v[1]) & as_vector<V32>(thirds[2]);
    return {of.v[0] ^ in_01 ^ in_02, of.v[1] ^ in_01 ^ in_12, of.v[2] ^ in_02 ^ in_12};
}

// --- gamma ---------------------------------------------------------------------------------------

// By curves. Red and blue change their places, which are two away from each other.
template <bool turning>
class CurvesStep {
public:
    static constexpr size_t units = 32, source_bytes = 3, destination_bytes = 3;
    using Loaded = PixelVectors<V32>;

    explicit CurvesStep(const ChannelCurves &curves)
        : red_(curves.red), green_(curves.green), blue_(curves.blue) {}

    Loaded load(const uint8_t *rgb) const { return Loaded::load(rgb); }
    void store(uint8_t *bgr, const Loaded &pixels) const {
        const Loaded corrected = in_place(pixels);
        for (size_t i = 0; i < 3; ++i)
            store_lanes(bgr + 16 * i, 48, corrected.v[i]);
    }

    Loaded in_place(const Loaded &pixels) const {
        const Loaded channels = exchanged(pixels);
        const V32 red = red_(channels.v[0]), blue = blue_(channels.v[1]);
        return exchanged({_mm256_alignr_epi8(blue, blue, 2), _mm256_alignr_epi8(red, red, 14),
                          green_(channels.v[2])});
    }

private:
    CurveLookup<turning> red_, green_, blue_;
};

// The same, and dithered.
template <bool turning>
class DitheredCurvesStep {
public:
    static constexpr size_t units = 32, source_bytes = 3, destination_bytes = 3;
    using Loaded = PixelVectors<V32>;

    DitheredCurvesStep(const CurvesStep<turning> &curves, const Thresholds &thresholds)
        : curves_(curves), five_bits_(thresholds) {}

    Loaded load(const uint8_t *rgb) const { return Loaded::load(rgb); }
    void store(uint8_t *bgr, const Loaded &pixels) const {
        const Loaded corrected = curves_.in_place(pixels);
        for (size_t i = 0; i < 3; ++i)
            store_lanes(bgr + 16 * i, 48, five_bits_.cut(i, corrected.v[i]));
    }

private:
    const CurvesStep<turning> &curves_;
    FiveBits<V32, 16> five_bits_;
};

// --- the forms -----------------------------------------------------------------------------------

struct ShowsOf32Bytes : WideShows<V32, shorter_show_kernels> {
    static void correct(uint8_t *bgr, const uint8_t *rgb, const ScreenTables &tables,
                        size_t pixels) {
        if (pixels < sizeof(V32))
            shorter_show_kernels.correct(bgr, rgb, tables, pixels);
        else if (tables.curves.shape == CurveShape::turning)
            correct_by_curves<true>(bgr, rgb, tables.curves, pixels);
        else if (tables.curves.shape == CurveShape::straight)
            correct_by_curves<false>(bgr, rgb, tables.curves, pixels);
        else
            correct_by_tables(bgr, rgb, tables, pixels);
    }

    static void high_colour(uint8_t *bgr, const uint8_t *rgb, const ScreenTables &tables,
                            const Thresholds &thresholds, size_t pixels) {
        if (pixels < sizeof(V32))
            shorter_show_kernels.high_colour(bgr, rgb, tables, thresholds, pixels);
        else if (tables.curves.shape == CurveShape::turning)
            dither_by_curves<true>(bgr, rgb, tables.curves, thresholds, pixels);
        else if (tables.curves.shape == CurveShape::straight)
            dither_by_curves<false>(bgr, rgb, tables.curves, thresholds, pixels);
        else
            dither_by_tables(bgr, rgb, tables, thresholds, pixels);
    }

private:
    template <bool turning>
    static void correct_by_curves(uint8_t *bgr, const uint8_t *rgb, const ChannelCurves &curves,
                                  size_t pixels) {
        const CurvesStep<turning> step(curves);
        walk(pixels, ConversionStep<CurvesStep<turning>>{bgr, rgb, step});
    }

    template <bool turning>
    static void dither_by_curves(uint8_t *bgr, const uint8_t *rgb, const ChannelCurves &curves,
                                 const Thresholds &thresholds, size_t pixels) {
        const CurvesStep<turning> step(curves);
        walk_dithered<DitheredCurvesStep<turning>>(bgr, rgb, thresholds, pixels, step);
    }

    // Looked up by the kernel that rows have for it. Pixel by pixel takes 0.9 of the time where the
    // picture lies in the cache, and 1.3 where it does not. In one go with the swapping it takes an
    // eighth longer: that is more than eight registers and what the processor sees at a time.
    static void correct_by_tables(uint8_t *bgr, const uint8_t *rgb, const ChannelTables &tables,
                                  size_t pixels) {
        rows::avx2_row_kernels.map_24(bgr, rgb, tables.red.data(), pixels);
        rows::avx2_row_kernels.swap_red_blue(bgr, bgr, pixels);
    }

    static void dither_by_tables(uint8_t *bgr, const uint8_t *rgb, const ScreenTables &tables,
                                 const Thresholds &thresholds, size_t pixels) {
        const size_t whole = pixels - pixels % sizeof(V32);
        correct_by_tables(bgr, rgb, tables, whole);
        walk_dithered<FiveBitsStep<V32>>(bgr, bgr, thresholds, whole);
        shorter_show_kernels.high_colour(bgr + 3 * whole, rgb + 3 * whole, tables, thresholds,
                                         pixels - whole);
    }
};

} // namespace

constexpr ShowKernels avx2_show_kernels = show_table<ShowsOf32Bytes>();

} // namespace q32::display
