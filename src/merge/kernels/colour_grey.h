// The steps between RGB and grey.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/colour_layout.h"

namespace q32::merge {
namespace {

// --- to grey -------------------------------------------------------------------------------------

// Words of half the pixels' samples: red and green as pairs of bytes, blue.
template <class V>
struct GreyWeights {
    V red_green, blue;

    // (299 r + 587 g + 114 b) / 1000. The sum does not fit in a word but an eighth of it does, and
    // is enough to be divided by 125: 32 (r + 2g) + (43 r + 75 g + 114 b) / 8.
    V grey() const {
        const V eighth =
            shift_right_u16<3>(add_u16(sum_products_u8_i8(red_green, repeat_u16<V>(75 << 8 | 43)),
                                       sum_products_u8_i8(blue, repeat_u16<V>(114))));
        const V sum = add_u16(
            eighth, shift_left_u16<5>(sum_products_u8_i8(red_green, repeat_u16<V>(2 << 8 | 1))));
        return shift_right_u16<6>(multiply_high_u16(sum, repeat_u16<V>(33555)));
    }
};

// Four pixels from byte `begin` on: red and green in the low half, blue as words in the high one.
constexpr LaneBytes grey_indices(int begin) {
    return lane_by([=](int i) {
        const int at = begin + 3 * (i % 8 / 2);
        return i < 8 ? at + i % 2 : i % 2 == 0 ? at + 2 : nothing;
    });
}

// In each lane the eight pixels of two loads, of which the second begins 8 bytes after the first.
template <class V>
GreyWeights<V> weights_of(V from_0, V from_8) {
    static constexpr LaneBytes of_first_four = grey_indices(0), of_last_four = grey_indices(4);
    const V low = shuffle_u8(from_0, as_vector<V>(of_first_four));
    const V high = shuffle_u8(from_8, as_vector<V>(of_last_four));
    return {interleave_low_u64(low, high), interleave_high_u64(low, high)};
}

// Lanes of sixteen pixels.
template <class V>
struct RgbToGrey {
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = 1;
    struct Loaded {
        V from_0, from_8, from_24, from_32;
    };

    Loaded load(const uint8_t *source) const {
        return {load_lanes<V>(source, 48), load_lanes<V>(source + 8, 48),
                load_lanes<V>(source + 24, 48), load_lanes<V>(source + 32, 48)};
    }
    void store(uint8_t *destination, const Loaded &v) const {
        const auto first = weights_of(v.from_0, v.from_8);
        const auto second = weights_of(v.from_24, v.from_32);
        simd::store(destination, pack_i16_to_u8_in_lanes(first.grey(), second.grey()));
    }
};

// --- from grey -----------------------------------------------------------------------------------

// Every byte three times, from byte `begin` of the result and byte `source` of the run on.
constexpr LaneBytes tripled(int begin, int source) {
    return lane_by([=](int i) { return (begin + i) / 3 - source; });
}

template <class V>
struct GreyToRgb;

template <>
struct GreyToRgb<V16> {
    static constexpr size_t units = 16, source_bytes = 1, destination_bytes = 3;
    using Loaded = V16;

    Loaded load(const uint8_t *source) const { return load_16(source); }
    void store(uint8_t *destination, Loaded grey) const {
        static constexpr LaneBytes first = tripled(0, 0), second = tripled(16, 0),
                                   third = tripled(32, 0);
        simd::store(destination, shuffle_u8(grey, as_vector<V16>(first)));
        simd::store(destination + 16, shuffle_u8(grey, as_vector<V16>(second)));
        simd::store(destination + 32, shuffle_u8(grey, as_vector<V16>(third)));
    }
};

#ifdef __AVX2__

// A vector of the result needs eleven bytes: what both its lanes take them from.
template <>
struct GreyToRgb<V32> {
    static constexpr size_t units = 32, source_bytes = 1, destination_bytes = 3;
    struct Loaded {
        V32 from_0, from_8, from_16;
    };

    Loaded load(const uint8_t *source) const {
        return {repeat_lane<V32>(load_16(source)), repeat_lane<V32>(load_16(source + 8)),
                repeat_lane<V32>(load_16(source + 16))};
    }
    void store(uint8_t *destination, const Loaded &grey) const {
        static constexpr LaneBytes indices[6] = {tripled(0, 0),  tripled(16, 0),  tripled(32, 8),
                                                 tripled(48, 8), tripled(64, 16), tripled(80, 16)};
        simd::store(destination, shuffle_u8(grey.from_0, two_lanes(indices)));
        simd::store(destination + 32, shuffle_u8(grey.from_8, two_lanes(indices + 2)));
        simd::store(destination + 64, shuffle_u8(grey.from_16, two_lanes(indices + 4)));
    }

private:
    static V32 two_lanes(const LaneBytes *indices) { return simd::load<V32>(indices->at); }
};

#endif

} // namespace
} // namespace q32::merge
