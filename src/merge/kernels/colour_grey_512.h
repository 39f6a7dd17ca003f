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
constexpr ByteTable<64> grey_picks(int second_from, int channel) {
    return bytes_by<64>([=](int i) {
        const int at = i / 2 * 3 + (channel == 0 ? i % 2 : channel);
        return at < 64 ? at : 64 + at - second_from;
    });
}

template <int second_from>
GreyWeights<V64> grey_weights(V64 first, V64 second) {
    static constexpr auto red_green = grey_picks(second_from, 0), blue = grey_picks(second_from, 2);
    return {_mm512_permutex2var_epi8(first, as_vector<V64>(red_green), second),
            _mm512_permutex2var_epi8(first, as_vector<V64>(blue), second)};
}

template <>
struct RgbToGrey<V64> {
    static constexpr size_t units = 64, source_bytes = 3, destination_bytes = 1;
    struct Loaded {
        V64 from_0, from_64, from_96, from_128;
    };

    Loaded load(const uint8_t *source) const {
        return {simd::load<V64>(source), simd::load<V64>(source + 64), simd::load<V64>(source + 96),
                simd::load<V64>(source + 128)};
    }
    void store(uint8_t *destination, const Loaded &v) const {
        const V64 low = grey_weights<64>(v.from_0, v.from_64).grey();
        const V64 high = grey_weights<32>(v.from_96, v.from_128).grey();
        simd::store(destination, pack_i16_to_u8_in_order(low, high));
    }
};

template <>
struct GreyToRgb<V64> {
    static constexpr size_t units = 64, source_bytes = 1, destination_bytes = 3;
    using Loaded = V64;

    Loaded load(const uint8_t *source) const { return simd::load<V64>(source); }
    void store(uint8_t *destination, Loaded grey) const {
        store_vector<0>(destination, grey);
        store_vector<1>(destination, grey);
        store_vector<2>(destination, grey);
    }

private:
    template <int vector>
    static void store_vector(uint8_t *destination, V64 grey) {
        static constexpr auto tripled = bytes_by<64>([](int i) { return (64 * vector + i) / 3; });
        simd::store(destination + 64 * vector, permute_u8(grey, as_vector<V64>(tripled)));
    }
};

} // namespace
} // namespace q32::merge
