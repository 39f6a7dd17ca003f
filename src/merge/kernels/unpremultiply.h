// Unpremultiplying: s x 255 / m for vectors, exactly, with one division for each pixel. Pixels of
// three samples lie in lanes of their own: a lane has the 48 bytes of sixteen pixels, in three
// vectors, so that no byte crosses from lane to lane. Vectors of 64 bytes, whose permutations reach
// all of them, have pixels in the order of memory.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/weight_pairs.h"

namespace q32::merge {
namespace {

#ifdef __SSE4_1__

// --- factors ------------------------------------------------------------------------------------

// The double words of a and b in turn, of each its low word or its high one.
inline V16 low_words(V16 a, V16 b) {
    return _mm_blend_epi16(a, _mm_slli_epi32(b, 16), 0xAA);
}
inline V16 high_words(V16 a, V16 b) {
    return _mm_blend_epi16(_mm_srli_epi32(a, 16), b, 0xAA);
}
#ifdef __AVX2__
inline V32 low_words(V32 a, V32 b) {
    return _mm256_blend_epi16(a, _mm256_slli_epi32(b, 16), 0xAA);
}
inline V32 high_words(V32 a, V32 b) {
    return _mm256_blend_epi16(_mm256_srli_epi32(a, 16), b, 0xAA);
}
#endif

// 255 / m as words: the whole number, and 65536ths of the rest, rounded up. No sample is above its
// mask, so that rounding up adds less than 255 / 65536 to a quotient, which is less than the 1 / m
// that it can lack to the next whole number.
template <class V>
struct Factors {
    V whole, parts;

    V times(V samples) const {
        return add_u16(multiply_low_u16(samples, whole), multiply_high_u16(samples, parts));
    }
};

// Of as many pixels as a vector has bytes: those of the low pairs of its bytes, and of the high.
template <class V>
struct PixelFactors {
    Factors<V> low, high;
};

// (255 x 65536 + 254) / m, truncated, is 255 x 65536 / m rounded up, or a little more where m is
// small and that does no harm; numbers below 2^24 are floats without a loss. What comes of mask 0
// is multiplied with 0.
template <class V>
PixelFactors<V> pixel_factors(V masks) {
    const auto quotients = [](V dwords) {
        return i32_of_float(divide_float(255 * 65536 + 254, float_of_i32(dwords)));
    };
    const auto factors = [&](V words) {
        const V even = quotients(words & repeat_u32<V>(0xFFFF));
        const V odd = quotients(shift_right_i32<16>(words));
        return Factors<V>{high_words(even, odd), low_words(even, odd)};
    };
    const Pairs<V> words = pairs_u8(masks, zero<V>());
    return {factors(words.low), factors(words.high)};
}

#ifdef __AVX512VBMI__

// The same out of tables: permutations of two vectors look them up sooner than 64 divisions are
// done. From mask 128 on the whole number is 1.
struct alignas(64) FactorTables {
    uint8_t whole[128], parts_low[256], parts_high[256];
};

constexpr FactorTables factor_tables() {
    FactorTables tables{};
    for (int m = 1; m < 256; ++m) {
        const int factor = (255 * 65536 + m - 1) / m;
        if (m < 128)
            tables.whole[m] = uint8_t(factor >> 16);
        tables.parts_low[m] = uint8_t(factor);
        tables.parts_high[m] = uint8_t(factor >> 8);
    }
    return tables;
}

template <>
inline PixelFactors<V64> pixel_factors<V64>(V64 masks) {
    static constexpr FactorTables tables = factor_tables();
    const __mmask64 from_128 = _mm512_movepi8_mask(masks);
    const auto of_128 = [&](const uint8_t *table) {
        return _mm512_permutex2var_epi8(load<V64>(table), masks, load<V64>(table + 64));
    };
    const auto of_256 = [&](const uint8_t *table) {
        return _mm512_mask_blend_epi8(from_128, of_128(table), of_128(table + 128));
    };
    const V64 whole = _mm512_mask_blend_epi8(from_128, of_128(tables.whole), repeat_u8<V64>(1));
    const Pairs<V64> wholes = pairs_u8(whole, zero<V64>());
    const Pairs<V64> parts = pairs_u8(of_256(tables.parts_low), of_256(tables.parts_high));
    return {{wholes.low, parts.low}, {wholes.high, parts.high}};
}

#endif

// --- factors of samples -------------------------------------------------------------------------

// The factors of sizeof(V) pixels, and out of them those of vector k of their samples, of its low
// half or its high one.
template <class V, size_t samples>
class SampleFactors {
public:
    explicit SampleFactors(V masks) : pixels_(pixel_factors(masks)) {}

    template <size_t k, size_t half>
    Factors<V> of() const {
        if constexpr (samples == 1) {
            return half == 0 ? pixels_.low : pixels_.high;
        } else {
            constexpr size_t first = 16 * k + 8 * half, vector = first / 3 / 8;
            static constexpr LaneBytes indices =
                lane_by([](size_t i) { return 2 * ((first + i / 2) / 3 - 8 * vector) + i % 2; });
            const Factors<V> &eight = vector == 0 ? pixels_.low : pixels_.high;
            return {shuffle_u8(eight.whole, as_vector<V>(indices)),
                    shuffle_u8(eight.parts, as_vector<V>(indices))};
        }
    }

private:
    PixelFactors<V> pixels_;
};

#ifdef __AVX512VBMI__

// A vector's samples belong to at most 22 pixels: those of the second one lie across the middle.
template <>
class SampleFactors<V64, 3> {
public:
    explicit SampleFactors(V64 masks) {
        const PixelFactors<V64> halves = pixel_factors(dealt_to_lanes(masks));
        factors_[0] = halves.low;
        factors_[1] = {_mm512_alignr_epi64(halves.high.whole, halves.low.whole, 4),
                       _mm512_alignr_epi64(halves.high.parts, halves.low.parts, 4)};
        factors_[2] = halves.high;
    }

    template <size_t k, size_t half>
    Factors<V64> of() const {
        static constexpr auto indices = bytes_by<64>([](size_t i) {
            const size_t sample = 64 * k + i / 16 * 16 + 8 * half + i % 16 / 2;
            return i % 2 == 0 ? sample / 3 - 16 * k : 0;
        });
        const V64 places = as_vector<V64>(indices);
        return {_mm512_permutexvar_epi16(places, factors_[k].whole),
                _mm512_permutexvar_epi16(places, factors_[k].parts)};
    }

private:
    Factors<V64> factors_[3];
};

#endif

// --- a vector -----------------------------------------------------------------------------------

template <class V, size_t samples>
class Unpremultiplication {
public:
    static constexpr bool within_mask = true; // samples that are above their masks must not come

    explicit Unpremultiplication(V masks) : factors_(masks) {}

    // Vector k of the pixels' samples.
    template <size_t k>
    V of(V premultiplied) const {
        const Pairs<V> words = pairs_u8(premultiplied, zero<V>());
        return pack_i16_to_u8_in_lanes(factors_.template of<k, 0>().times(words.low),
                                       factors_.template of<k, 1>().times(words.high));
    }

private:
    SampleFactors<V, samples> factors_;
};

#else

// --- without a byte shuffle, as floats ----------------------------------------------------------

template <int order>
__m128 reordered(__m128 floats) {
    return _mm_shuffle_ps(floats, floats, order);
}

struct DoubleWords {
    V16 part[4]; // bytes 0 to 3, 4 to 7, 8 to 11 and 12 to 15
};

inline DoubleWords widened(V16 bytes) {
    const Pairs<V16> words = pairs_u8(bytes, zero<V16>());
    return {widen_u16_to_u32<0>(words.low), widen_u16_to_u32<1>(words.low),
            widen_u16_to_u32<0>(words.high), widen_u16_to_u32<1>(words.high)};
}

// What the samples of sixteen pixels are multiplied with: 255 / m and a 2^-18th of it more. That is
// more than the errors of three roundings, and too little to take s x 255 / m to the next whole
// number, which is at least 1 / m away. Mask 0 counts as 1.
template <class V, size_t samples>
class Unpremultiplication {
public:
    static constexpr bool within_mask = false; // packing limits what is above

    explicit Unpremultiplication(V mask) {
        const DoubleWords divisors = widened(max_u8(mask, repeat_u8<V>(1)));
        for (size_t i = 0; i < 4; ++i)
            factors_[i] = divide_float(255 + 255 / 262144.0f, float_of_i32(divisors.part[i]));
    }

    // Vector k of the pixels' samples.
    template <size_t k>
    V of(V premultiplied) const {
        const DoubleWords s = widened(premultiplied);
        return pack_i16_to_u8_in_lanes(
            pack_i32_to_i16_in_lanes(product<4 * k>(s.part[0]), product<4 * k + 1>(s.part[1])),
            pack_i32_to_i16_in_lanes(product<4 * k + 2>(s.part[2]), product<4 * k + 3>(s.part[3])));
    }

private:
    // Quarter i of the pixels' vectors.
    template <size_t i>
    V product(V dwords) const {
        if constexpr (samples == 1)
            return i32_of_float(multiply_float(float_of_i32(dwords), factors_[i]));
        else
            return i32_of_float(
                multiply_float(float_of_i32(dwords), reordered<thirds[i % 3]>(factors_[i / 3])));
    }

    __m128 factors_[4];
};

#endif

} // namespace
} // namespace q32::merge
