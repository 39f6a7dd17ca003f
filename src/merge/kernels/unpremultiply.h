// Unpremultiplying: s x 255 / m for vectors, exactly, with one division for each pixel. Pixels of
// three samples lie in lanes of their own: a lane has the 48 bytes of sixteen pixels, in three
// vectors, so that no byte crosses from lane to lane.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/weight_pairs.h"

namespace q32::merge {
namespace {

// --- floats -------------------------------------------------------------------------------------

// As many floats as V has double words.
template <class V>
using Floats = decltype(float_of_i32(V()));

template <int order>
__m128 reordered(__m128 floats) {
    return _mm_shuffle_ps(floats, floats, order);
}
#ifdef __AVX2__
template <int order>
__m256 reordered(__m256 floats) {
    return _mm256_permute_ps(floats, order);
}
#endif

// --- a vector -----------------------------------------------------------------------------------

template <class V>
struct DoubleWords {
    V part[4]; // of each lane bytes 0 to 3, 4 to 7, 8 to 11 and 12 to 15
};

template <class V>
DoubleWords<V> widened(V bytes) {
    const Pairs<V> words = pairs_u8(bytes, zero<V>());
    return {widen_u16_to_u32<0>(words.low), widen_u16_to_u32<1>(words.low),
            widen_u16_to_u32<0>(words.high), widen_u16_to_u32<1>(words.high)};
}

// What the samples of sizeof(V) pixels are multiplied with: 255 / m and a 2^-18th of it more. That
// is more than the errors of three roundings, and too little to take s x 255 / m to the next whole
// number, which is at least 1 / m away. Mask 0 counts as 1.
template <class V>
class Unpremultiplication {
public:
    explicit Unpremultiplication(V mask) {
        const DoubleWords<V> divisors = widened(max_u8(mask, repeat_u8<V>(1)));
        for (size_t i = 0; i < 4; ++i)
            factors_[i] = divide_float(255 + 255 / 262144.0f, float_of_i32(divisors.part[i]));
    }

    // Vector k of the pixels' samples.
    template <size_t samples, size_t k>
    V of(V premultiplied) const {
        const DoubleWords<V> s = widened(premultiplied);
        return pack_i16_to_u8_in_lanes(
            pack_i32_to_i16_in_lanes(product<samples, 4 * k>(s.part[0]),
                                     product<samples, 4 * k + 1>(s.part[1])),
            pack_i32_to_i16_in_lanes(product<samples, 4 * k + 2>(s.part[2]),
                                     product<samples, 4 * k + 3>(s.part[3])));
    }

private:
    // Quarter i of the pixels' vectors.
    template <size_t samples, size_t i>
    V product(V dwords) const {
        if constexpr (samples == 1)
            return i32_of_float(multiply_float(float_of_i32(dwords), factors_[i]));
        else
            return i32_of_float(
                multiply_float(float_of_i32(dwords), reordered<thirds[i % 3]>(factors_[i / 3])));
    }

    Floats<V> factors_[4];
};

} // namespace
} // namespace q32::merge
