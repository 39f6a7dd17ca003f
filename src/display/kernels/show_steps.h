// What is made of a vector of samples, and of the pixels of a step, written once for all
// instruction sets. All decisions are arithmetic: no step looks into the tables of a rule.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "display/kernels/colour_cube.h"
#include "display/kernels/show_layout.h"

namespace q32::display {
namespace {

// --- palettes ------------------------------------------------------------------------------------

// Its three bytes, and one that means nothing.
inline std::uint32_t colour_of_index(uint8_t index, const ColourEntries &entries) {
    std::uint32_t colour;
    std::memcpy(&colour, &entries[4 * size_t(index)], sizeof colour);
    return colour;
}

#ifdef __SSE4_1__
// Four colours in twelve bytes, and four that mean nothing.
inline V16 four_colours(const uint8_t *indices, const ColourEntries &entries) {
    static constexpr LaneBytes three_of_four =
        lane_by([](int i) { return i < 12 ? i / 3 * 4 + i % 3 : nothing; });
    const auto colour = [=, &entries](size_t i) {
        return int(colour_of_index(indices[i], entries));
    };
    V16 colours = _mm_cvtsi32_si128(colour(0));
    colours = _mm_insert_epi32(colours, colour(1), 1);
    colours = _mm_insert_epi32(colours, colour(2), 2);
    colours = _mm_insert_epi32(colours, colour(3), 3);
    return shuffle_u8(colours, as_vector<V16>(three_of_four));
}
#endif

// --- greys ---------------------------------------------------------------------------------------

template <class V>
class GreyLevelsStep {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = 1;
    using Loaded = V;

    explicit GreyLevelsStep(int shift)
        : shift_(_mm_cvtsi32_si128(shift)), kept_(repeat_u8<V>(uint8_t(0xFF >> shift))) {}

    Loaded load(const uint8_t *greys) const { return simd::load<V>(greys); }
    // Words are shifted, and what comes from the neighbour is cut off.
    void store(uint8_t *levels, V greys) const {
        simd::store(levels, shift_right_u16(greys, shift_) & kept_);
    }

private:
    V16 shift_;
    V kept_;
};

// Eight pixels are a unit.
template <class V>
class BitsOfGreysStep {
public:
    static constexpr size_t units = sizeof(V) / 8, source_bytes = 8, destination_bytes = 1;
    using Loaded = V;

    explicit BitsOfGreysStep(const Thresholds &thresholds)
        : thresholds_(in_bit_order(beside_pixels<V>(thresholds))) {}

    Loaded load(const uint8_t *greys) const { return simd::load<V>(greys); }
    void store(uint8_t *bits, V greys) const {
        store_bits(bits, mask_at_least_u8(in_bit_order(greys), thresholds_));
    }

private:
    V thresholds_;
};

// --- the colour cube -----------------------------------------------------------------------------

// A sample steps up to the next level where its fraction, 0 to 50, reaches the threshold: where
// sample + (51 - threshold) reaches the next multiple of 51. Sums end at 255, which is the last of
// them. Thresholds beyond 51 count as 51, which no fraction reaches.
//
// The level is a 51st of the sum. The upper four bits of a multiple 51 k say 3 k: taken off, that
// leaves 48 k, and what lies between multiples remains between. Of what is left the upper four bits
// say 3 k to 3 k + 2, so that a third of them is the level.
inline constexpr int cube_step = 255 / (cube_side - 1);

template <class V>
V upper_four_bits(V bytes) {
    return shift_right_u16<4>(bytes) & repeat_u8<V>(0x0F);
}

template <class V>
V three_for_each_level(V samples, V room) {
    const V reaching = add_saturating_u8(samples, room);
    return upper_four_bits(subtract_u8(reaching, upper_four_bits(reaching)));
}

#ifdef __SSE4_1__

template <class V>
constexpr VectorBytes<V> contributions(const std::array<uint8_t, cube_side> &of_level) {
    return piece_by<V>([&](int i) { return of_level[i % 16 / 3]; });
}

template <class V>
V index_in_cube(const Channels<V> &thirds) {
    static constexpr VectorBytes<V> red = contributions<V>(dithered_cube.of_red),
                                    green = contributions<V>(dithered_cube.of_green),
                                    blue = contributions<V>(dithered_cube.of_blue);
    return add_u8(add_u8(shuffle_u8(as_vector<V>(red), thirds.red),
                         shuffle_u8(as_vector<V>(green), thirds.green)),
                  shuffle_u8(as_vector<V>(blue), thirds.blue));
}

#else

// Words of two bytes are multiplied at once: no product is more than a byte.
template <class V>
V a_third(V to_15) {
    return shift_right_u16<5>(multiply_low_u16(to_15, repeat_u16<V>(11))) & repeat_u8<V>(0x07);
}

template <class V>
V index_in_cube(const Channels<V> &thirds) {
    const V side = repeat_u16<V>(cube_side);
    const V red_green = add_u8(multiply_low_u16(a_third(thirds.red), side), a_third(thirds.green));
    return add_u8(multiply_low_u16(red_green, side), a_third(thirds.blue));
}

#endif

template <class V>
class CubeIndicesStep {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = 1;
    using Loaded = PixelVectors<V>;

    explicit CubeIndicesStep(const Thresholds &thresholds)
        : room_(subtract_saturating_u8(repeat_u8<V>(cube_step), beside_pixels<V>(thresholds))) {}

    Loaded load(const uint8_t *rgb) const { return PixelVectors<V>::load(rgb); }
    void store(uint8_t *indices, const PixelVectors<V> &pixels) const {
        const Channels<V> channels = channels_of<InOrder>(pixels);
        simd::store(indices,
                    index_in_cube(Channels<V>{three_for_each_level(channels.red, room_),
                                              three_for_each_level(channels.green, room_),
                                              three_for_each_level(channels.blue, room_)}));
    }

private:
    V room_;
};

// --- planes --------------------------------------------------------------------------------------

// Eight pixels are a unit. Planes lie apart, so that a step has more than one place to store.
template <class V>
class PlanesStep {
public:
    static constexpr size_t units = sizeof(V) / 8, source_bytes = 24;

    explicit PlanesStep(const Thresholds &thresholds)
        : thresholds_(in_bit_order(beside_pixels<V>(thresholds))) {}

    void operator()(uint8_t *planes, size_t plane_bytes, const uint8_t *rgb) const {
        const Channels<V> channels = channels_of<BitOrder>(PixelVectors<V>::load(rgb));
        const auto red = mask_at_least_u8(channels.red, thresholds_);
        const auto green = mask_at_least_u8(channels.green, thresholds_);
        const auto blue = mask_at_least_u8(channels.blue, thresholds_);
        store_bits(planes, red);
        store_bits(planes + plane_bytes, green);
        store_bits(planes + 2 * plane_bytes, blue);
        store_bits(planes + 3 * plane_bytes, mask_or(mask_or(red, green), blue));
    }

private:
    V thresholds_;
};

// --- high colour ---------------------------------------------------------------------------------

// Three vectors of samples in a row, cut to five bits. A sample of which the lower three bits reach
// the threshold, 1 to 8, steps up: so it does when 8 - threshold is added and those bits are cut
// off.
//
// Pixels lie in a row in each piece of the three: in all of a vector, or lane by lane.
template <class V, size_t piece = sizeof(V)>
class FiveBits {
public:
    explicit FiveBits(const Thresholds &thresholds)
        : room_{room(beside_samples<0, V, piece>(thresholds)),
                room(beside_samples<1, V, piece>(thresholds)),
                room(beside_samples<2, V, piece>(thresholds))} {}

    V cut(size_t vector, V samples) const {
        return add_u8(samples, room_[vector]) & repeat_u8<V>(0xF8);
    }
    void store(uint8_t *at, size_t vector, V samples) const {
        simd::store(at + vector * sizeof(V), cut(vector, samples));
    }

private:
    static V room(V thresholds) { return subtract_saturating_u8(repeat_u8<V>(8), thresholds); }

    V room_[3];
};

template <class V>
class FiveBitsStep {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = 3;
    struct Loaded {
        V v[3];
    };

    explicit FiveBitsStep(const Thresholds &thresholds) : five_bits_(thresholds) {}

    Loaded load(const uint8_t *samples) const {
        return {simd::load<V>(samples), simd::load<V>(samples + sizeof(V)),
                simd::load<V>(samples + 2 * sizeof(V))};
    }
    void store(uint8_t *destination, const Loaded &samples) const {
        for (size_t i = 0; i < 3; ++i)
            five_bits_.store(destination, i, samples.v[i]);
    }

private:
    FiveBits<V> five_bits_;
};

// Without gamma the tables hold (sample x 248 + 127) / 255.
template <class V>
V scaled_to_248(V words) {
#ifdef __SSE4_1__
    // The rounded product with a fraction, which 31868 / 32768 is near enough to for all samples.
    return multiply_fractions_i16(words, repeat_u16<V>(31868));
#else
    // 257 / 65536 of one more than the sum is its 255th part.
    const V products = multiply_low_u16(words, repeat_u16<V>(248));
    return multiply_high_u16(add_u16(products, repeat_u16<V>(128)), repeat_u16<V>(257));
#endif
}

template <class V>
class PlainHighColourStep {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = 3;
    using Loaded = SwappedWords<V>;

    explicit PlainHighColourStep(const Thresholds &thresholds) : five_bits_(thresholds) {}

    Loaded load(const uint8_t *rgb) const { return Loaded::load(rgb); }
    void store(uint8_t *bgr, const Loaded &swapped) const {
        store_vector<0>(bgr, swapped);
        store_vector<1>(bgr, swapped);
        store_vector<2>(bgr, swapped);
    }

private:
    template <int vector>
    void store_vector(uint8_t *bgr, const Loaded &swapped) const {
        const V low = scaled_to_248(swapped.template words<vector, 0>());
        const V high = scaled_to_248(swapped.template words<vector, 1>());
        five_bits_.store(bgr, vector, pack_i16_to_u8_in_lanes(low, high));
    }

    FiveBits<V> five_bits_;
};

} // namespace
} // namespace q32::display
