// Showing for AVX-512 with VBMI, 64 bytes at a time.
#include "display/kernels/show_forms.h"
#include "rows/kernels/table_lookup.h"

namespace q32::display {
namespace {

// One of three vectors of pixels, dealt out of channels that lie at their places, in the order in
// which memory has them.
template <int vector>
V64 dealt(const PixelVectors<V64> &channels) {
    static constexpr VectorBytes<V64> second = places_of<V64>(1, vector),
                                      third = places_of<V64>(2, vector);
    return select_by_top_bits_u8(
        as_vector<V64>(third), channels.v[2],
        select_by_top_bits_u8(as_vector<V64>(second), channels.v[1], channels.v[0]));
}

inline PixelVectors<V64> dealt(const PixelVectors<V64> &channels) {
    return {{dealt<0>(channels), dealt<1>(channels), dealt<2>(channels)}};
}

inline void store_dealt(uint8_t *pixels, const PixelVectors<V64> &channels) {
    const PixelVectors<V64> in_order = dealt(channels);
    for (size_t i = 0; i < 3; ++i)
        store(pixels + 64 * i, in_order.v[i]);
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

// --- gamma ---------------------------------------------------------------------------------------

// Each channel is looked up at its places. Red and blue change theirs, which are two away from each
// other.
class CorrectStep {
public:
    static constexpr size_t units = 64, source_bytes = 3, destination_bytes = 3;
    using Loaded = PixelVectors<V64>;

    explicit CorrectStep(const ChannelTables &tables)
        : red_(tables.red.data()), green_(tables.green.data()), blue_(tables.blue.data()) {}

    Loaded load(const uint8_t *rgb) const { return PixelVectors<V64>::load(rgb); }
    void store(uint8_t *bgr, const PixelVectors<V64> &pixels) const {
        store_dealt(bgr, at_their_places(pixels));
    }

    // A vector for each channel of the destination.
    PixelVectors<V64> at_their_places(const PixelVectors<V64> &pixels) const {
        return {{moved<-2>(blue_(at_places<2>(pixels))), green_(at_places<1>(pixels)),
                 moved<2>(red_(at_places<0>(pixels)))}};
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

// The same, and dithered.
class HighColourStep {
public:
    static constexpr size_t units = 64, source_bytes = 3, destination_bytes = 3;
    using Loaded = PixelVectors<V64>;

    HighColourStep(const CorrectStep &correct, const Thresholds &thresholds)
        : correct_(correct), five_bits_(thresholds) {}

    Loaded load(const uint8_t *rgb) const { return Loaded::load(rgb); }
    void store(uint8_t *bgr, const Loaded &pixels) const {
        const PixelVectors<V64> corrected = dealt(correct_.at_their_places(pixels));
        for (size_t i = 0; i < 3; ++i)
            five_bits_.store(bgr, i, corrected.v[i]);
    }

private:
    const CorrectStep &correct_;
    FiveBits<V64> five_bits_;
};

// --- the forms -----------------------------------------------------------------------------------

struct ShowsOf64Bytes : WideShows<V64, avx2_show_kernels> {
    static void colours_of_indices(uint8_t *rgb, const uint8_t *indices,
                                   const ColourEntries &entries, size_t pixels) {
        constexpr size_t fewest = 256; // what splitting the entries costs is gained by as many
        if (pixels < fewest) {
            avx2_show_kernels.colours_of_indices(rgb, indices, entries, pixels);
            return;
        }
        const ColoursOfIndicesStep step{SplitEntries(entries)};
        walk(pixels, ConversionStep<ColoursOfIndicesStep>{rgb, indices, step});
    }

    static void correct(uint8_t *bgr, const uint8_t *rgb, const ScreenTables &tables,
                        size_t pixels) {
        if (pixels < sizeof(V64)) {
            avx2_show_kernels.correct(bgr, rgb, tables, pixels);
            return;
        }
        const CorrectStep step(tables);
        walk(pixels, ConversionStep<CorrectStep>{bgr, rgb, step});
    }

    static void high_colour(uint8_t *bgr, const uint8_t *rgb, const ScreenTables &tables,
                            const Thresholds &thresholds, size_t pixels) {
        if (pixels < sizeof(V64)) {
            avx2_show_kernels.high_colour(bgr, rgb, tables, thresholds, pixels);
            return;
        }
        const CorrectStep correct(tables);
        walk_dithered<HighColourStep>(bgr, rgb, thresholds, pixels, correct);
    }
};

} // namespace

constexpr ShowKernels avx512_show_kernels = show_table<ShowsOf64Bytes>();

} // namespace q32::display
