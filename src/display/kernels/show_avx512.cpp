// Showing for AVX-512 with VBMI, 64 bytes at a time.
#include "display/kernels/show_forms.h"
#include "display/kernels/show_wide.h"
#include "rows/kernels/table_lookup.h"

namespace q32::display {
namespace {

// One of three vectors of pixels, dealt out of channels that lie at their places, in the order in
// which memory has them.
template <int vector>
V64 dealt(const Pixels<V64> &channels) {
    static constexpr VectorBytes<V64> second = places_of<V64>(1, vector),
                                      third = places_of<V64>(2, vector);
    return select_by_top_bits_u8(
        as_vector<V64>(third), channels.v[2],
        select_by_top_bits_u8(as_vector<V64>(second), channels.v[1], channels.v[0]));
}

inline void store_dealt(uint8_t *pixels, const Pixels<V64> &channels) {
    store(pixels, dealt<0>(channels));
    store(pixels + 64, dealt<1>(channels));
    store(pixels + 128, dealt<2>(channels));
}

// --- colours of indices --------------------------------------------------------------------------

// The entries as a table for each channel.
class SplitEntries {
public:
    explicit SplitEntries(const ColourEntries &entries) {
        split<0>(entries);
        split<1>(entries);
        split<2>(entries);
    }

    const uint8_t *channel(size_t k) const { return tables_[k]; }

private:
    // Each pair of vectors has 32 entries. Their channel is gathered in either half.
    template <int channel>
    void split(const ColourEntries &entries) {
        static constexpr VectorBytes<V64> gathered =
            vector_by<V64>([](int i) { return 4 * (i % 32) + channel; });
        const auto half = [&](size_t entry) {
            const uint8_t *const first = &entries[4 * entry];
            return _mm512_permutex2var_epi8(load<V64>(first), as_vector<V64>(gathered),
                                            load<V64>(first + 64));
        };
        for (size_t entry = 0; entry < 256; entry += 64)
            store(&tables_[channel][entry],
                  _mm512_shuffle_i64x2(half(entry), half(entry + 32), 0x44));
    }

    alignas(64) uint8_t tables_[3][256];
};

// Indices are brought to the places of each channel, and looked up there.
class ColoursOfIndicesStep {
public:
    static constexpr size_t units = 64, source_bytes = 1, destination_bytes = 3;
    using Loaded = V64;

    explicit ColoursOfIndicesStep(const SplitEntries &entries)
        : red_(entries.channel(0)), green_(entries.channel(1)), blue_(entries.channel(2)) {}

    Loaded load(const uint8_t *indices) const { return simd::load<V64>(indices); }
    void store(uint8_t *rgb, V64 indices) const {
        store_dealt(rgb, {{red_(to_places<0>(indices)), green_(to_places<1>(indices)),
                           blue_(to_places<2>(indices))}});
    }

private:
    // Pixel p has its channel at 3p + channel, modulo 64; 43 x 3 is 1 there.
    template <int channel>
    static V64 to_places(V64 v) {
        static constexpr VectorBytes<V64> pixels =
            vector_by<V64>([](int i) { return (i + 64 - channel) * 43 % 64; });
        return permute_u8(v, as_vector<V64>(pixels));
    }

    rows::TableLookup<V64> red_, green_, blue_;
};

// What splitting the entries costs is gained by as many pixels.
constexpr size_t fewest_indices = 256;

// --- gamma ---------------------------------------------------------------------------------------

// Each channel is looked up at its places. Red and blue change theirs, which are two away from each
// other.
class CorrectStep {
public:
    static constexpr size_t units = 64, source_bytes = 3, destination_bytes = 3;
    using Loaded = Pixels<V64>;

    explicit CorrectStep(const ChannelTables &tables)
        : red_(tables.red.data()), green_(tables.green.data()), blue_(tables.blue.data()) {}

    Loaded load(const uint8_t *rgb) const { return Pixels<V64>::load(rgb); }
    void store(uint8_t *bgr, const Pixels<V64> &pixels) const {
        store_dealt(bgr, {{moved<-2>(blue_(at_places<2>(pixels))), green_(at_places<1>(pixels)),
                           moved<2>(red_(at_places<0>(pixels)))}});
    }

private:
    // Around the end.
    template <int by>
    static V64 moved(V64 v) {
        static constexpr VectorBytes<V64> places =
            vector_by<V64>([](int i) { return (i + 64 - by) % 64; });
        return permute_u8(v, as_vector<V64>(places));
    }

    rows::TableLookup<V64> red_, green_, blue_;
};

} // namespace

// --- entries -------------------------------------------------------------------------------------

void colours_of_indices_avx512(uint8_t *rgb, const uint8_t *indices, const ColourEntries &entries,
                               size_t pixels) {
    const auto run_shorter = [&](uint8_t *to, const uint8_t *from, size_t count) {
        colours_of_indices_avx2(to, from, entries, count);
    };
    if (pixels < fewest_indices)
        run_shorter(rgb, indices, pixels);
    else
        convert_run(rgb, indices, pixels, ColoursOfIndicesStep(SplitEntries(entries)), run_shorter);
}

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
        convert_run(bgr, rgb, pixels, CorrectStep(tables), run_shorter);
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
