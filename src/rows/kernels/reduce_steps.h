// Reducing pixels, written once for vectors of all sizes. By a small factor the bytes of a few
// source vectors make a destination vector: each is shuffled to its place, and all are combined.
// By a larger one pixels move one by one: little of a source vector is of use.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/scaling_pixels.h"
#include "rows/kernels/scaling_walk.h"
#include "rows/kernels/with_factor.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

#include <array>
#include <cstring>
#include <numeric>
#include <type_traits>
#include <utility>

namespace q32::rows {
namespace {

// --- pixel by pixel -----------------------------------------------------------------------------

// Pixels of two bytes the compiler puts together in vectors where it sees bytes, which is as good
// as moving numbers for all others.
template <class Pixel>
inline constexpr bool moves_as_number = !std::is_same_v<Pixel, Swapped> && Pixel::bytes != 2;

template <class Pixel>
void reduce_in_moves(uint8_t *destination, const uint8_t *source, size_t groups, size_t factor) {
    if constexpr (moves_as_number<Pixel>) {
#pragma GCC unroll 4
        for (; groups != 0; --groups, destination += Pixel::bytes, source += Pixel::bytes * factor)
            if constexpr (Pixel::bytes == 1) {
                uint8_t pixel = *source;
                __asm__("" : "+q"(pixel)); // single bytes it would put together, and take longer
                *destination = pixel;
            } else {
                std::memcpy(destination, source, Pixel::bytes);
            }
    } else {
        std::array<size_t, Pixel::bytes> places;
        for (size_t i = 0; i < Pixel::bytes; ++i)
            places[i] = Pixel::in_group(i, factor);
        for (; groups != 0; --groups, destination += Pixel::bytes, source += Pixel::bytes * factor)
            for (size_t i = 0; i < Pixel::bytes; ++i)
                destination[i] = source[places[i]];
    }
}

// --- small factors ------------------------------------------------------------------------------

#ifdef __SSE4_1__

template <class Pixel>
inline constexpr size_t last_reduce_step = Pixel::bytes == 1 ? 8 : 4;

template <class Pixel, size_t factor>
inline constexpr bool has_reduce_step = true;

// Every lane makes its own pixels, from a source of its own.
template <class V, class Pixel, size_t factor>
struct ReduceStep {
    static constexpr size_t source_bytes = Pixel::bytes * factor, destination_bytes = Pixel::bytes;
    static constexpr size_t lane_units = 16 / std::gcd(size_t(16), destination_bytes);
    static constexpr size_t units = lane_units * sizeof(V) / 16;
    static constexpr size_t windows = lane_units * source_bytes / 16;
    static constexpr size_t results = lane_units * destination_bytes / 16;

    // Rows never overlap: nothing needs to be held.
    using Loaded = const uint8_t *;
    Loaded load(const uint8_t *source) const { return source; }

    void store(uint8_t *destination, Loaded source) const {
        store_each(destination, source, std::make_index_sequence<results>());
    }

private:
    struct Plan {
        LaneBytes indices;
        bool is_used;
    };
    static constexpr size_t source_of(size_t at) {
        return at / destination_bytes * source_bytes +
               Pixel::in_group(at % destination_bytes, factor);
    }
    static constexpr Plan plan_of(size_t result, size_t window) {
        Plan plan{};
        for (size_t i = 0; i < 16; ++i) {
            const size_t from = source_of(16 * result + i);
            const bool is_here = from / 16 == window;
            plan.indices.at[i] = is_here ? uint8_t(from % 16) : nothing;
            plan.is_used = plan.is_used || is_here;
        }
        return plan;
    }

    template <size_t result, size_t window>
    static void add(V &sum, const uint8_t *source) {
        static constexpr Plan plan = plan_of(result, window);
        if constexpr (plan.is_used) {
            const V part = load_lanes<V>(source + 16 * window, lane_units * source_bytes);
            sum = sum | shuffle_u8(part, as_vector<V>(plan.indices));
        }
    }
    template <size_t result, size_t... window>
    static V make(const uint8_t *source, std::index_sequence<window...>) {
        V sum = zero<V>();
        (add<result, window>(sum, source), ...);
        return sum;
    }
    template <size_t... result>
    static void store_each(uint8_t *destination, const uint8_t *source,
                           std::index_sequence<result...>) {
        (store_lanes(destination + 16 * result, lane_units * destination_bytes,
                     make<result>(source, std::make_index_sequence<windows>())),
         ...);
    }
};

// Every other pixel of two vectors, where one instruction finds them in both.
template <class V>
inline V every_other(Plain<1>, V a, V b) {
    const V even = repeat_u16<V>(0x00FF);
    return pack_i16_to_u8_in_lanes(a & even, b & even);
}
template <class V>
inline V every_other(Plain<4>, V a, V b) {
    return even_u32_in_lanes(a, b);
}

template <class V, class Pixel>
struct ReduceByHalf {
    static constexpr size_t units = sizeof(V) / Pixel::bytes;
    static constexpr size_t source_bytes = 2 * Pixel::bytes, destination_bytes = Pixel::bytes;
    using Loaded = V;

    Loaded load(const uint8_t *source) const {
        return every_other(Pixel(), load_lanes<V>(source, 32), load_lanes<V>(source + 16, 32));
    }
    void store(uint8_t *destination, V pixels) const { simd::store(destination, pixels); }
};
template <class V>
struct ReduceStep<V, Plain<1>, 2> : ReduceByHalf<V, Plain<1>> {};
template <class V>
struct ReduceStep<V, Plain<4>, 2> : ReduceByHalf<V, Plain<4>> {};

#else

template <class Pixel>
inline constexpr size_t last_reduce_step = Pixel::bytes == 1 ? 8 : 4;

template <class Pixel, size_t factor>
inline constexpr bool has_reduce_step = factor == 3
                                            ? Pixel::bytes == 1
                                            : Pixel::bytes != 3 &&
                                                  (factor == 2 || factor == 4 || factor == 8);

// Every other unit of two vectors.
template <size_t unit_bytes>
inline V16 thin_out(V16 a, V16 b) {
    const auto signed_low_words = [](V16 v) { return shift_right_i32<16>(_mm_slli_epi32(v, 16)); };
    if constexpr (unit_bytes == 1)
        return pack_i16_to_u8_in_order(a & repeat_u16<V16>(0x00FF), b & repeat_u16<V16>(0x00FF));
    else if constexpr (unit_bytes == 2)
        return pack_i32_to_i16_in_lanes(signed_low_words(a), signed_low_words(b));
    else
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0x88));
}

template <class V, class Pixel, size_t factor>
struct ReduceStep {
    static constexpr size_t units = sizeof(V) / Pixel::bytes;
    static constexpr size_t source_bytes = Pixel::bytes * factor, destination_bytes = Pixel::bytes;
    using Loaded = V;

    Loaded load(const uint8_t *source) const {
        if constexpr (factor == 1) {
            return simd::load<V>(source);
        } else {
            const ReduceStep<V, Pixel, factor / 2> half;
            return thin_out<Pixel::bytes>(half.load(source),
                                          half.load(source + factor / 2 * sizeof(V)));
        }
    }
    void store(uint8_t *destination, V pixels) const { simd::store(destination, pixels); }
};

// Every third byte, by four put together to a number. Left to the compiler they become vectors,
// which it makes in memory in 64 bits. Rows never overlap: nothing needs to be held.
template <class V>
struct ReduceStep<V, Plain<1>, 3> {
    static constexpr size_t units = 16, source_bytes = 3, destination_bytes = 1;
    using Loaded = const uint8_t *;

    Loaded load(const uint8_t *source) const { return source; }
    void store(uint8_t *destination, Loaded source) const {
        for (size_t i = 0; i < units; i += 4) {
            const uint8_t *const from = source + 3 * i;
            const unsigned four = from[0] | from[3] << 8 | from[6] << 16 | unsigned(from[9]) << 24;
            std::memcpy(destination + i, &four, sizeof four);
        }
    }
};

#endif

// Only swapped pixels may be read to the end of an incomplete group. Of others such a group's
// pixel is moved by itself.
template <class Pixel>
inline void reduce_last_group(const ScaledRows &all, size_t groups) {
    if (groups * all.factor != all.pixels)
        each_row(all, [&](uint8_t *destination, const uint8_t *source) {
            reduce_in_moves<Pixel>(destination + Pixel::bytes * groups,
                                   source + Pixel::bytes * all.factor * groups, 1, all.factor);
        });
}

template <class Pixel>
inline void reduce_each_in_moves(const ScaledRows &all) {
    const size_t groups = all.pixels / all.factor;
    each_row(all, [&](uint8_t *destination, const uint8_t *source) {
        reduce_in_moves<Pixel>(destination, source, groups, all.factor);
    });
    reduce_last_group<Pixel>(all, groups);
}

template <class V, class Pixel, size_t factor, PixelKind kind, const ScalingKernels &narrower>
inline void reduce_by(const ScaledRows &all) {
    using Step = ReduceStep<V, Pixel, factor>;
    const size_t groups = all.pixels / factor;
    if (groups < Step::units)
        return narrower.reduce[size_t(kind)](all);
    convert_each_row(all, groups, Step{});
    reduce_last_group<Pixel>(all, groups);
}

template <class V, class Pixel, PixelKind kind, const ScalingKernels &narrower>
inline RowScaling *reducing_kernel(size_t factor) {
    RowScaling *kernel = reduce_each_in_moves<Pixel>;
    with_factor<2, last_reduce_step<Pixel>>(factor, [&]<size_t known>() {
        if constexpr (has_reduce_step<Pixel, known>)
            kernel = reduce_by<V, Pixel, known, kind, narrower>;
    });
    return kernel;
}

} // namespace
} // namespace q32::rows
