// The steps of colour_grey.h for vectors of 64 bytes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/colour_grey.h"
#include "merge/kernels/colour_layout_512.h"

namespace q32::merge {
namespace {

// Two vectors that hold 32 pixels, the second from byte `second_from` on, to pairs of bytes: first
// and second sample, or third and anything.
constexpr BytePicks grey_picks(int second_from, int channel) {
    BytePicks picks{};
    for (int i = 0; i < 64; ++i) {
        const int at = i / 2 * 3 + (channel == 0 ? i % 2 : channel);
        picks.at[i] = uint8_t(at < 64 ? at : 64 + at - second_from);
    }
    return picks;
}

template <int second_from>
GreyWeights<V64> grey_weights(V64 first, V64 second) {
    static constexpr BytePicks red_green = grey_picks(second_from, 0),
                               blue = grey_picks(second_from, 2);
    return {_mm512_permutex2var_epi8(first, red_green.vector(), second),
            _mm512_permutex2var_epi8(first, blue.vector(), second)};
}

template <>
struct RgbToGrey<V64> {
    static constexpr size_t units = 64, source_bytes = 3, destination_bytes = 1;
    struct Loaded {
        V64 from_0, from_64, from_96, from_128;
    };

    Loaded load(const uint8_t *source) const {
        return {rows::load<V64>(source), rows::load<V64>(source + 64), rows::load<V64>(source + 96),
                rows::load<V64>(source + 128)};
    }
    void store(uint8_t *destination, const Loaded &v) const {
        const V64 low = grey_weights<64>(v.from_0, v.from_64).grey();
        const V64 high = grey_weights<32>(v.from_96, v.from_128).grey();
        const V64 packed_in_order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
        rows::store(destination, _mm512_permutexvar_epi64(packed_in_order, pack_words(low, high)));
    }
};

template <>
struct GreyToRgb<V64> {
    static constexpr size_t units = 64, source_bytes = 1, destination_bytes = 3;
    using Loaded = V64;

    Loaded load(const uint8_t *source) const { return rows::load<V64>(source); }
    void store(uint8_t *destination, Loaded grey) const {
        store_vector<0>(destination, grey);
        store_vector<1>(destination, grey);
        store_vector<2>(destination, grey);
    }

private:
    template <int vector>
    static void store_vector(uint8_t *destination, V64 grey) {
        static constexpr BytePicks tripled = [] {
            BytePicks picks{};
            for (int i = 0; i < 64; ++i)
                picks.at[i] = uint8_t((64 * vector + i) / 3);
            return picks;
        }();
        rows::store(destination + 64 * vector, _mm512_permutexvar_epi8(tripled.vector(), grey));
    }
};

} // namespace
} // namespace q32::merge
