// The wide bilinear kernels, written once for vectors of 16 and of 32 bytes. A line holds a pair of
// bytes for each destination sample: the source sample and its right neighbour.
//
// Included by files that are compiled for different processors: everything here is private to the
// file that includes it.
#pragma once

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("live-range-shrinkage", "no-tree-reassoc")
#endif

#include "resample/kernels/bilinear_plan.h"
#include "rows/kernels/vectors.h"

namespace q32::resample {
namespace {

using rows::V16;
using namespace rows;

inline V16 add(V16 a, V16 b) {
    return _mm_add_epi16(a, b);
}
inline V16 subtract(V16 a, V16 b) {
    return _mm_sub_epi16(a, b);
}
inline V16 multiply_high(V16 a, V16 b) {
    return _mm_mulhi_epi16(a, b);
}
inline V16 multiply_high_unsigned(V16 a, V16 b) {
    return _mm_mulhi_epu16(a, b);
}
inline V16 sign(V16 a) {
    return _mm_srai_epi16(a, 15);
}
inline V16 pack(V16 a, V16 b) {
    return _mm_packus_epi16(a, b);
}
#ifdef __SSSE3__
inline V16 right_minus_left(V16 pairs) {
    return _mm_maddubs_epi16(pairs, _mm_set1_epi16(0x01FF));
}
#else
inline V16 right_minus_left(V16 pairs) {
    return subtract(words_down<8>(pairs), pairs & repeat_word<V16>(0xFF));
}
#endif
#ifdef __AVX2__
inline V32 add(V32 a, V32 b) {
    return _mm256_add_epi16(a, b);
}
inline V32 subtract(V32 a, V32 b) {
    return _mm256_sub_epi16(a, b);
}
inline V32 multiply_high(V32 a, V32 b) {
    return _mm256_mulhi_epi16(a, b);
}
inline V32 multiply_high_unsigned(V32 a, V32 b) {
    return _mm256_mulhi_epu16(a, b);
}
inline V32 sign(V32 a) {
    return _mm256_srai_epi16(a, 15);
}
inline V32 pack(V32 a, V32 b) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8);
}
inline V32 right_minus_left(V32 pairs) {
    return _mm256_maddubs_epi16(pairs, _mm256_set1_epi16(0x01FF));
}
#endif

enum class RowFraction { none, below_half, from_half };

template <class V>
V load(const void *at) {
    return rows::load<V>(static_cast<const uint8_t *>(at));
}

template <RowFraction row_fraction, class V>
V interpolate(V above, V below, V fx, V fy) {
    const V low_byte = repeat_word<V>(0xFF), even = repeat_word<V>(-2), fourth = repeat_word<V>(-4);
    const V p00 = above & low_byte;
    const V right00 = right_minus_left(above);
    const V c = right00 & even;
    V sum = add(add(p00, c & sign(fx)), multiply_high(c, fx));
    if constexpr (row_fraction != RowFraction::none) {
        const V p01 = below & low_byte;
        const V b = subtract(p01, p00) & even;
        const V d = subtract(right_minus_left(below), right00) & fourth;
        const V f = multiply_high_unsigned(fx, fy);
        sum = add(sum, multiply_high(b, fy));
        sum = add(sum, multiply_high(d, f));
        if constexpr (row_fraction == RowFraction::from_half)
            sum = add(sum, add(b, d & sign(f)));
    }
    return sum;
}

template <RowFraction row_fraction, class V>
[[gnu::always_inline]] inline void down_block(uint8_t *destination, const uint8_t *above,
                                              const uint8_t *below, const uint8_t *fx, V fy) {
    for (size_t at = 0; at < block; at += sizeof(V)) {
        const V low = interpolate<row_fraction>(load<V>(above + 2 * at), load<V>(below + 2 * at),
                                                load<V>(fx + 2 * at), fy);
        const size_t next = 2 * at + sizeof(V);
        const V high = interpolate<row_fraction>(load<V>(above + next), load<V>(below + next),
                                                 load<V>(fx + next), fy);
        store(destination + at, pack(low, high));
    }
}

template <RowFraction row_fraction, class V>
void down_row(uint8_t *destination, const Plan &plan, const void *const *lines, int fraction) {
    const auto *above = static_cast<const uint8_t *>(lines[0]);
    const auto *below = static_cast<const uint8_t *>(lines[1]);
    const auto *fx = reinterpret_cast<const uint8_t *>(plan.fraction);
    const V fy = repeat_word<V>(fraction);
    size_t sample = 0;
    for (; sample + block <= plan.samples; sample += block)
        down_block<row_fraction>(destination + sample, above + 2 * sample, below + 2 * sample,
                                 fx + 2 * sample, fy);
    if (sample < plan.samples) {
        uint8_t last[block];
        down_block<row_fraction>(last, above + 2 * sample, below + 2 * sample, fx + 2 * sample, fy);
        std::memcpy(destination + sample, last, plan.samples - sample);
    }
}

template <class V>
void down(uint8_t *destination, void *work, const void *const *lines, int fraction) {
    const Plan &plan = *static_cast<const Plan *>(work);
    fraction &= 0xFFFF;
    if (fraction == 0)
        down_row<RowFraction::none, V>(destination, plan, lines, fraction);
    else if (fraction < 0x8000)
        down_row<RowFraction::below_half, V>(destination, plan, lines, fraction);
    else
        down_row<RowFraction::from_half, V>(destination, plan, lines, fraction);
}

#ifdef __SSSE3__
inline V16 load_windows(const uint8_t *row, const int32_t *start, size_t, V16) {
    return load_16(row + start[0]);
}
#ifdef __AVX2__
inline V32 load_windows(const uint8_t *row, const int32_t *start, size_t next, V32) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load_16(row + start[0])),
                                   load_16(row + start[next]), 1);
}
#endif

template <class V>
void across_lanes(uint8_t *line, const Plan &plan, const uint8_t *row) {
    const int32_t *start = plan.start;
    const uint8_t *index = plan.index;
    const uint8_t *end = index + plan.blocks() * block * 2;
    for (; index != end; index += sizeof(V), line += sizeof(V), start += sizeof(V) / 16)
        store(line, shuffle(load_windows(row, start, 1, V()), load<V>(index)));
}
template <class V>
void across_half_lanes(uint8_t *line, const Plan &plan, const uint8_t *row) {
    const int32_t *start = plan.start;
    const uint8_t *index = plan.index;
    const uint8_t *end = index + plan.blocks() * block * 2;
    for (; index != end; index += sizeof(V), line += sizeof(V), start += sizeof(V) / 8) {
        const V i = load<V>(index);
        store(line, choose_dwords<12>(shuffle(load_windows(row, start, 2, V()), i),
                                      shuffle(load_windows(row, start + 1, 2, V()), i)));
    }
}
#endif

template <int pixel_bytes>
void across_pixels(uint8_t *line, const Plan &plan, const uint8_t *row) {
    const size_t wide = pixel_bytes == 1 ? 2 : 8;
    if (plan.row_bytes >= wide) {
        const auto last_wide = int32_t(plan.row_bytes - wide);
        uint8_t *pair = line;
        for (size_t x = 0; x < plan.pixels; ++x, pair += 2 * pixel_bytes) {
            const uint8_t *at = row + std::min(plan.left[x], last_wide);
            if constexpr (pixel_bytes == 1) {
                std::memcpy(pair, at, 2);
            } else {
                const V16 v = load_8(at);
                store_8(pair, _mm_unpacklo_epi8(v, _mm_srli_epi64(v, 8 * pixel_bytes)));
            }
        }
    }
    const auto last_left = int32_t(plan.row_bytes) - pixel_bytes;
    for (size_t i = 0; i < plan.edge_pixels; ++i) {
        const size_t x = size_t(plan.edge_pixel[i]);
        const uint8_t *left = row + plan.left[x];
        const uint8_t *right = plan.left[x] == last_left ? left : left + pixel_bytes;
        uint8_t *pair = line + x * 2 * pixel_bytes;
        for (int sample = 0; sample < pixel_bytes; ++sample) {
            *pair++ = left[sample];
            *pair++ = right[sample];
        }
    }
}

template <class V>
void across(void *line, void *work, const uint8_t *row) {
    Plan &plan = *static_cast<Plan *>(work);
    auto *pairs = static_cast<uint8_t *>(line);
#ifdef __SSSE3__
    if (plan.row_bytes < window) {
        std::memcpy(plan.short_row, row, plan.row_bytes);
        row = plan.short_row;
    }
    if (plan.search == Search::lanes)
        return across_lanes<V>(pairs, plan, row);
    if (plan.search == Search::half_lanes)
        return across_half_lanes<V>(pairs, plan, row);
#endif
    if (plan.pixel_bytes == 1)
        across_pixels<1>(pairs, plan, row);
    else if (plan.pixel_bytes == 3)
        across_pixels<3>(pairs, plan, row);
    else
        across_pixels<4>(pairs, plan, row);
}

template <class V>
constexpr InterpolationKernels bilinear_wide{2,         0,         plan_bytes, line_bytes,
                                             make_plan, across<V>, down<V>};

} // namespace
} // namespace q32::resample
