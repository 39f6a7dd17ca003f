// Showing for AVX-512 with VBMI, 64 bytes at a time.
#include "display/kernels/show_walks.h"
#include "display/kernels/show_wide.h"
#include "rows/kernels/table_lookup.h"

namespace q32::display {
namespace {

// Bytes moved to other places, around the end.
template <int by>
V64 moved(V64 v) {
    static constexpr Bytes<V64> places = bytes_by<V64>([](int i) { return (i + 64 - by) % 64; });
    return permute(v, places);
}

// Each channel is looked up at its places in the three vectors. Red and blue change theirs, which
// are two away from each other, and all are dealt out again.
class CorrectStep {
public:
    static constexpr size_t units = 64, source_bytes = 3, destination_bytes = 3;
    using Loaded = Pixels<V64>;

    explicit CorrectStep(const ChannelTables &tables)
        : red_(tables.red.data()), green_(tables.green.data()), blue_(tables.blue.data()) {}

    Loaded load(const uint8_t *rgb) const { return Pixels<V64>::load(rgb); }
    void store(uint8_t *bgr, const Pixels<V64> &pixels) const {
        const Channels<V64> at_new_places{moved<2>(red_(at_places<0>(pixels))),
                                          green_(at_places<1>(pixels)),
                                          moved<-2>(blue_(at_places<2>(pixels)))};
        rows::store(bgr, dealt<0>(at_new_places));
        rows::store(bgr + 64, dealt<1>(at_new_places));
        rows::store(bgr + 128, dealt<2>(at_new_places));
    }

private:
    template <int vector>
    static V64 dealt(const Channels<V64> &channels) {
        static constexpr Bytes<V64> green = places_of<V64>(1, vector),
                                    red = places_of<V64>(2, vector);
        return choose_bytes(red.vector(),
                            choose_bytes(green.vector(), channels.blue, channels.green),
                            channels.red);
    }

    rows::TableLookup<V64> red_, green_, blue_;
};

} // namespace

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
    const auto run_shorter = [&](uint8_t *to, const uint8_t *from, size_t count) {
        correct_avx2(to, from, tables, count);
    };
    if (pixels < CorrectStep::units)
        run_shorter(bgr, rgb, pixels);
    else
        rows::run(bgr, rgb, pixels, CorrectStep(tables), run_shorter);
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
