// What is made of a vector of samples, and of the pixels of a step, written once for all
// instruction sets. All decisions are arithmetic: no step looks into the tables of a rule.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "display/kernels/colour_cube.h"
#include "display/kernels/show_layout.h"

namespace q32::display {
namespace {

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
// sample + 51 - threshold reaches the next multiple of 51. That is at most 255, the last of them,
// so that the sum may end there too. Thresholds beyond 51 are never reached, as 51 is not.
//
// For the division, what the upper four bits tell is taken off: 3 for each 51. A multiple 51 k
// becomes 48 k, and what lies below remains below, so that a third of the upper four bits is the
// level.
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
    using Loaded = Pixels<V>;

    explicit CubeIndicesStep(const Thresholds &thresholds)
        : room_(subtract_saturating_u8(repeat_u8<V>(cube_step), beside_pixels<V>(thresholds))) {}

    Loaded load(const uint8_t *rgb) const { return Pixels<V>::load(rgb); }
    void store(uint8_t *indices, const Pixels<V> &pixels) const {
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
        const Channels<V> channels = channels_of<BitOrder>(Pixels<V>::load(rgb));
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

// A sample of which the lower three bits reach the threshold, 1 to 8, steps up: so it does when
// 8 - threshold is added and those bits are cut off.
inline constexpr int high_colour_step = 8;

template <class V>
V five_bits(V samples, V room) {
    return add_u8(samples, room) & repeat_u8<V>(0xF8);
}

template <class V>
class Rooms {
public:
    explicit Rooms(const Thresholds &thresholds)
        : room_{room(beside_samples<0, V>(thresholds)), room(beside_samples<1, V>(thresholds)),
                room(beside_samples<2, V>(thresholds))} {}

    V operator[](size_t vector) const { return room_[vector]; }

private:
    static V room(V thresholds) {
        return subtract_saturating_u8(repeat_u8<V>(high_colour_step), thresholds);
    }

    V room_[3];
};

// Three vectors of samples in a row.
template <class V>
struct Samples {
    V v[3];

    static Samples load(const uint8_t *at) {
        return {simd::load<V>(at), simd::load<V>(at + sizeof(V)),
                simd::load<V>(at + 2 * sizeof(V))};
    }
};

template <class V>
class FiveBitsStep {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = 3;
    using Loaded = Samples<V>;

    explicit FiveBitsStep(const Thresholds &thresholds) : rooms_(thresholds) {}

    Loaded load(const uint8_t *samples) const { return Samples<V>::load(samples); }
    void store(uint8_t *destination, const Samples<V> &samples) const {
        for (size_t i = 0; i < 3; ++i)
            simd::store(destination + i * sizeof(V), five_bits(samples.v[i], rooms_[i]));
    }

private:
    Rooms<V> rooms_;
};

#ifdef __SSE4_1__

// Samples with red and blue swapped, taken out of memory as words: those that come to lie in the
// lower or upper half of each lane of a vector of bytes. They are never more than a window away:
// 16 bytes for each lane, or 64 for all.
constexpr int swapped(int sample) {
    return sample + 2 - 2 * (sample % 3);
}

template <class V, int vector, int half>
class SwappedWords {
public:
    static V load(const uint8_t *rgb) {
        if constexpr (sizeof(V) == 64)
            return simd::load<V>(rgb + begin(0));
        else
            return load_lanes<V>(rgb + begin(0), size_t(begin(1) - begin(0)));
    }

    static V words(V windows) {
#ifdef __AVX512VBMI__
        constexpr __mmask64 low_bytes = 0x5555555555555555;
        if constexpr (sizeof(V) == 64)
            return _mm512_maskz_permutexvar_epi8(low_bytes, as_vector<V>(indices), windows);
        else
#endif
            return shuffle_u8(windows, as_vector<V>(indices));
    }

private:
    static constexpr int in_window = reach<V> / 2;

    static constexpr int source_of(int word) {
        return swapped(int(sizeof(V)) * vector + 16 * (word / 8) + 8 * half + word % 8);
    }
    // Of a window beyond the vector's, too, for vectors of one lane.
    static constexpr int begin(int window) {
        int begin = 3 * int(sizeof(V)) - reach<V>;
        for (int word = in_window * window; word < in_window * (window + 1); ++word)
            begin = source_of(word) < begin ? source_of(word) : begin;
        return begin;
    }

    static constexpr VectorBytes<V> indices = vector_by<V>([](int i) {
        const int word = i / 2;
        return i % 2 == 0 ? source_of(word) - begin(word / in_window) : nothing;
    });
};

// Without gamma the tables hold (sample x 248 + 127) / 255: the rounded product of the sample with
// a fraction, which 31868 / 32768 is near enough to for all samples.
template <class V>
V scaled_to_248(V words) {
    return multiply_fractions_i16(words, repeat_u16<V>(31868));
}

template <class V>
class PlainHighColourStep {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = 3;
    struct Loaded {
        V v[3][2];
    };

    explicit PlainHighColourStep(const Thresholds &thresholds) : rooms_(thresholds) {}

    Loaded load(const uint8_t *rgb) const {
        return {{{SwappedWords<V, 0, 0>::load(rgb), SwappedWords<V, 0, 1>::load(rgb)},
                 {SwappedWords<V, 1, 0>::load(rgb), SwappedWords<V, 1, 1>::load(rgb)},
                 {SwappedWords<V, 2, 0>::load(rgb), SwappedWords<V, 2, 1>::load(rgb)}}};
    }
    void store(uint8_t *bgr, const Loaded &windows) const {
        store_vector<0>(bgr, windows);
        store_vector<1>(bgr, windows);
        store_vector<2>(bgr, windows);
    }

private:
    template <int vector>
    void store_vector(uint8_t *bgr, const Loaded &windows) const {
        const V low = SwappedWords<V, vector, 0>::words(windows.v[vector][0]);
        const V high = SwappedWords<V, vector, 1>::words(windows.v[vector][1]);
        const V samples = pack_i16_to_u8_in_lanes(scaled_to_248(low), scaled_to_248(high));
        simd::store(bgr + vector * sizeof(V), five_bits(samples, rooms_[vector]));
    }

    Rooms<V> rooms_;
};

#else

// Without gamma the tables hold (sample x 248 + 127) / 255; 257 / 65536 of one more is that.
template <class V>
V scaled_to_248(V words) {
    const V products = multiply_low_u16(words, repeat_u16<V>(248));
    return multiply_high_u16(add_u16(products, repeat_u16<V>(128)), repeat_u16<V>(257));
}

// The swapping is another's part.
template <class V>
class PlainHighColourStep {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = 3;
    using Loaded = Samples<V>;

    explicit PlainHighColourStep(const Thresholds &thresholds) : rooms_(thresholds) {}

    Loaded load(const uint8_t *samples) const { return Samples<V>::load(samples); }
    void store(uint8_t *destination, const Samples<V> &samples) const {
        for (size_t i = 0; i < 3; ++i) {
            const V low = scaled_to_248(widen_u8_to_u16<0>(samples.v[i]));
            const V high = scaled_to_248(widen_u8_to_u16<1>(samples.v[i]));
            simd::store(destination + i * sizeof(V),
                        five_bits(pack_i16_to_u8_in_lanes(low, high), rooms_[i]));
        }
    }

private:
    Rooms<V> rooms_;
};

#endif

} // namespace
} // namespace q32::display
