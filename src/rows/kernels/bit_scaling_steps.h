// Enlarging and reducing rows of bits, written once for vectors of all sizes: which form makes
// which factor. Powers of two are made in registers, other small factors by tables or from planes,
// those up to 40 by plans, or without a byte shuffle by tables and by folding, larger ones as runs
// of bytes that are all set or all clear.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#ifdef __SSE4_1__
#include "rows/kernels/bit_plan_steps.h"
#include "rows/kernels/bit_plane_steps.h"
#else
#include "rows/kernels/bit_fold_steps.h"
#endif
#include "rows/kernels/bit_table_steps.h"
#include "rows/kernels/double_bits.h"
#include "rows/kernels/each_row.h"
#include "rows/kernels/few_bytes.h"
#include "rows/kernels/row_kernels.h"
#include "rows/kernels/with_factor.h"
#include "simd/byte_table.h"
#include "simd/operations.h"
#include "simd/walk.h"

#include <cstring>

namespace q32::rows {
namespace {

// 0 or 1. Without a branch: nobody can foretell bits.
inline unsigned bit_of(const uint8_t *source, size_t pixel) {
    return unsigned(source[pixel / 8]) >> (7 - pixel % 8) & 1;
}

// What takes over where a vector finds too little, and the widest vector whose lanes are stored one
// by one.
template <class V>
struct Narrower {
    using Vector = V16;
};
template <class V>
struct ByLanes {
    using Vector = V;
};
#ifdef __AVX512VBMI__
template <>
struct Narrower<V64> {
    using Vector = V32;
};
template <>
struct ByLanes<V64> {
    using Vector = V32;
};
#endif

// --- twice --------------------------------------------------------------------------------------

// Units are bytes of the source.
template <class V, size_t factor>
struct EnlargeBits {
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = factor;
    using Loaded = V;

    Loaded load(const uint8_t *source) const { return simd::load<V>(source); }
    void store(uint8_t *destination, V bits) const {
        const Pairs<V> twice = double_bits(dealt_to_lanes(bits));
        if constexpr (factor == 2) {
            simd::store(destination, twice.low);
            simd::store(destination + sizeof(V), twice.high);
        } else {
            const EnlargeBits<V, factor / 2> half;
            half.store(destination, twice.low);
            half.store(destination + factor / 2 * sizeof(V), twice.high);
        }
    }
};

// --- enlarging by small factors -----------------------------------------------------------------

template <class V, size_t factor>
struct BitStep;
template <class V>
struct BitStep<V, 2> : EnlargeBits<V, 2> {};
template <class V>
struct BitStep<V, 4> : EnlargeBits<V, 4> {};
#ifdef __SSE4_1__
template <class V>
struct BitStep<V, 3> : EnlargeByPlanes<typename ByLanes<V>::Vector, 3> {};
template <class V>
struct BitStep<V, 5> : EnlargeByPlanes<typename ByLanes<V>::Vector, 5> {};
template <class V>
struct BitStep<V, 6> : EnlargeByDoubledPlanes<typename ByLanes<V>::Vector, 6> {};

// To select out of five planes takes more masks than there are registers, unless masks have
// registers of their own: the table is faster.
#ifdef __AVX512VBMI__
inline constexpr bool has_step_by_five = true;
#else
inline constexpr bool has_step_by_five = false;
#endif
template <size_t factor>
inline constexpr bool has_bit_step = factor < 7 && (factor != 5 || has_step_by_five);
#else
template <size_t factor>
inline constexpr bool has_bit_step = factor == 2 || factor == 4;
#endif

// Whether there are enough of them.
template <class V, size_t factor>
inline bool enlarge_in_steps(uint8_t *destination, const uint8_t *source, size_t bytes) {
    using Step = BitStep<V, factor>;
    if (bytes >= Step::units) {
        const Step step;
        walk(bytes, ConversionStep<Step>{destination, source, step});
        return true;
    }
    if constexpr (sizeof(V) > sizeof(V16))
        return enlarge_in_steps<typename Narrower<V>::Vector, factor>(destination, source, bytes);
    return false;
}

// By a factor below 8: whole bytes of the source by steps, the rest by the table.
template <class V, size_t factor>
inline void enlarge_bits_by(uint8_t *destination, const uint8_t *source, size_t pixels) {
    size_t made = 0;
    if constexpr (has_bit_step<factor>)
        if (enlarge_in_steps<V, factor>(destination, source, pixels / 8))
            made = pixels / 8;
    enlarge_by_table(destination + factor * made, source + made, pixels - 8 * made, factor,
                     bytes_enlarged_to_8[factor]);
}

// Of a row of at most 64 bits, those behind the last one in its byte.
inline V16 bits_behind(size_t pixels) {
    return _mm_sll_epi64(_mm_cvtsi32_si128(0xFF >> ((pixels - 1) % 8 + 1)),
                         _mm_cvtsi32_si128(int((pixels - 1) / 8 * 8)));
}

// Rows of at most 16 bytes once they are enlarged, in one register. A single row is made sooner by
// the table.
template <size_t factor>
inline void enlarge_few_bits(const ScaledRows &all) {
    const size_t bytes = (all.pixels + 7) / 8, enlarged = (all.pixels * factor + 7) / 8;
    const V16 behind = bits_behind(all.pixels);
    each_row(all, [=](uint8_t *destination, const uint8_t *source) {
        V16 bits = without(behind, load_few(source, bytes));
        for (size_t made = 1; made < factor; made *= 2)
            bits = double_bits(bits).low;
        store_few(destination, bits, enlarged);
    });
}

template <class V, size_t factor>
inline void enlarge_bit_rows_by(const ScaledRows &all) {
    if constexpr (factor == 2 || factor == 4)
        if (all.rows > 1 && all.pixels != 0 && all.pixels <= 128 / factor)
            return enlarge_few_bits<factor>(all);
    each_row(all, [&](uint8_t *destination, const uint8_t *source) {
        enlarge_bits_by<V, factor>(destination, source, all.pixels);
    });
}

// --- runs ---------------------------------------------------------------------------------------

// Every pixel is stored as bytes of its own up to the end of its run and beyond it, where the next
// run follows. The byte that two runs share is put together when the second begins. The factor is 8
// or more.
template <class V>
void enlarge_bits_in_runs(uint8_t *destination, const uint8_t *source, size_t pixels,
                          size_t factor) {
    const uint8_t *const end = destination + size_t((std::uint64_t(pixels) * factor + 7) / 8);
    unsigned held = 0; // bits of the run before in the byte at the destination
    size_t used = 0;   // how many they are
    for (size_t pixel = 0; pixel < pixels; ++pixel) {
        const auto value = uint8_t(0 - bit_of(source, pixel));
        const size_t bits = used + factor % 8;
        const size_t whole = factor / 8 + bits / 8;
        const size_t touched = whole + (bits % 8 != 0);

        if (size_t(end - destination) >= touched + sizeof(V))
            for (size_t done = 0; done < touched; done += sizeof(V))
                store(destination + done, repeat_u8<V>(value));
        else
            std::memset(destination, value, touched);
        *destination = uint8_t(held | (value & 0xFFu >> used));

        destination += whole;
        used = bits % 8;
        held = value & ~(0xFFu >> used);
    }
    if (used != 0)
        *destination = uint8_t(held);
}

// --- half ---------------------------------------------------------------------------------------

// Every other bit of each word, as a byte in it.
#ifdef __SSE4_1__
template <class V>
inline V halve_words(V bits) {
    static constexpr LaneBytes halved = {0, 0, 1, 1, 0, 0, 1, 1, 2, 2, 3, 3, 2, 2, 3, 3};
    static constexpr LaneBytes above = lane_by([](int i) { return halved.at[i] << 2; });
    const V low_nibble = repeat_u8<V>(0x0F);
    const V nibbles = shuffle_u8(as_vector<V>(above), shift_right_u16<4>(bits) & low_nibble) |
                      shuffle_u8(as_vector<V>(halved), bits & low_nibble);
    return sum_products_u8_i8(nibbles, repeat_u16<V>(0x0110));
}
#else
template <class V>
inline V halve_words(V bits) {
    const V singles = bits & repeat_u8<V>(0xAA);
    const V pairs = (singles | shift_left_u16<1>(singles)) & repeat_u8<V>(0xCC);
    const V nibbles = (pairs | shift_left_u16<2>(pairs)) & repeat_u8<V>(0xF0);
    return (nibbles & repeat_u16<V>(0x00F0)) | shift_right_u16<12>(nibbles);
}
#endif

// Every fourth bit of each number of 32 bits, as a byte in it. Of the four bits in a word the
// product has one copy each at bits 19 to 16, in their order, and all others apart from these.
template <class V>
inline V quarter_numbers(V bits) {
    constexpr int together = 1 << (19 - 7) | 1 << (18 - 3) | 1 << (17 - 15) | 1 << (16 - 11);
    const V nibbles =
        multiply_high_u16(bits & repeat_u8<V>(0x88), repeat_u16<V>(together)) & repeat_u16<V>(0x0F);
    return sum_products_i16(nibbles, repeat_u32<V>(0x0001'0010));
}

// Units are bytes of the destination.
template <class V, size_t factor>
struct ReduceBits {
    static constexpr size_t units = sizeof(V), source_bytes = factor, destination_bytes = 1;
    using Loaded = V;

    Loaded load(const uint8_t *source) const {
        if constexpr (factor == 1) {
            return simd::load<V>(source);
        } else if constexpr (factor % 4 == 0) {
            return pack_i16_to_u8_in_lanes(
                pack_i32_to_i16_in_lanes(quarter<0>(source), quarter<1>(source)),
                pack_i32_to_i16_in_lanes(quarter<2>(source), quarter<3>(source)));
        } else {
            const ReduceBits<V, factor / 2> half;
            const V first = half.load(source);
            const V second = half.load(source + factor / 2 * sizeof(V));
            return pack_i16_to_u8_in_order(halve_words(first), halve_words(second));
        }
    }
    void store(uint8_t *destination, V bits) const { simd::store(destination, bits); }

private:
    // A quarter of each lane.
    template <size_t number>
    static V quarter(const uint8_t *source) {
        static_assert(factor == 4 || lanes<V> == 1);
        if constexpr (factor == 4)
            return quarter_numbers(load_lanes<V>(source + 16 * number, 64));
        else
            return quarter_numbers(
                ReduceBits<V, factor / 4>().load(source + factor / 4 * sizeof(V) * number));
    }
};

// Eight pixels at a time from their places, and what is left over in a last byte.
inline void gather_bits(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor) {
    size_t left = (pixels + factor - 1) / factor;
    for (size_t pixel = 0; left != 0; ++destination) {
        const size_t count = left < 8 ? left : 8;
        unsigned byte = 0;
        for (size_t i = 0; i < count; ++i, pixel += factor)
            byte = byte << 1 | bit_of(source, pixel);
        *destination = uint8_t(byte << (8 - count));
        left -= count;
    }
}

// --- reducing by small factors ------------------------------------------------------------------

template <class V, size_t factor>
struct BitReduceStep : ReduceBits<V, factor> {};
#ifdef __SSE4_1__
template <class V>
struct BitReduceStep<V, 3> : ReduceByThree<V> {};

inline constexpr size_t last_bit_reduce_step = 4;
template <size_t factor>
inline constexpr bool has_bit_reduce_step = true;
#else
inline constexpr size_t last_bit_reduce_step = 16;
template <size_t factor>
inline constexpr bool has_bit_reduce_step =
    factor == 2 || factor == 4 || factor == 8 || factor == 16;
#endif

// Without steps of a factor's own.
template <class V>
inline void reduce_bits_apart(uint8_t *destination, const uint8_t *source, size_t pixels,
                              size_t factor) {
#ifdef __SSE4_1__
    if (factor > 1 && factor <= 8)
        return reduce_bits_in_one_piece<V>(destination, source, pixels, factor);
    if (factor > 8 && factor <= largest_planned_factor) {
        const size_t made = reduce_bits_by_plan<V>(destination, source, pixels / 8, factor);
#else
    if (factor > 2 && factor <= largest_planned_factor) {
        if (factor % 8 != 0 && reduce_in_groups(destination, source, pixels, factor))
            return;
        const size_t made =
            factor % 8 != 0 ? 0 : reduce_to_first_bits(destination, source, pixels / 8, factor);
#endif
        destination += made;
        source += factor * made;
        pixels -= 8 * factor * made;
    }
    gather_bits(destination, source, pixels, factor);
}

// Whether there are enough of them.
template <class V, size_t factor>
inline bool reduce_in_steps(uint8_t *destination, const uint8_t *source, size_t bytes) {
    if constexpr (has_bit_reduce_step<factor>) {
        using Step = BitReduceStep<V, factor>;
        if (bytes >= Step::units) {
            const Step step;
            walk(bytes, ConversionStep<Step>{destination, source, step});
            return true;
        }
        if constexpr (sizeof(V) > sizeof(V16))
            return reduce_in_steps<typename Narrower<V>::Vector, factor>(destination, source,
                                                                         bytes);
    }
    return false;
}

// The bytes that are full by steps, and the rest of the row.
template <class V, size_t factor>
inline void reduce_bits_by(uint8_t *destination, const uint8_t *source, size_t pixels) {
    const size_t bytes = pixels / factor / 8;
    const size_t made = reduce_in_steps<V, factor>(destination, source, bytes) ? bytes : 0;
    reduce_bits_apart<V>(destination + made, source + factor * made, pixels - 8 * factor * made,
                         factor);
}

// Rows of at most 16 bytes in one register.
template <size_t factor>
inline void reduce_few_bits(const ScaledRows &all) {
    const size_t bytes = (all.pixels + 7) / 8, pixels = (all.pixels + factor - 1) / factor;
    const size_t reduced = (pixels + 7) / 8;
    const V16 behind = bits_behind(pixels);
    each_row(all, [=](uint8_t *destination, const uint8_t *source) {
        const V16 row = load_few(source, bytes);
        V16 words;
        if constexpr (factor == 2)
            words = halve_words(row);
        else
            words = pack_i32_to_i16_in_lanes(quarter_numbers(row), zero<V16>());
        store_few(destination, without(behind, pack_i16_to_u8_in_lanes(words, zero<V16>())),
                  reduced);
    });
}

template <class V, size_t factor>
inline void reduce_bit_rows_by(const ScaledRows &all) {
    if constexpr (factor == 2 || factor == 4)
        if (all.rows > 1 && all.pixels != 0 && all.pixels <= 128)
            return reduce_few_bits<factor>(all);
    each_row(all, [&](uint8_t *destination, const uint8_t *source) {
        reduce_bits_by<V, factor>(destination, source, all.pixels);
    });
}

// --- factors ------------------------------------------------------------------------------------

// By a factor of 8 and more, or 1.
template <class V, const RowKernels &rows>
inline void enlarge_bit_row(uint8_t *destination, const uint8_t *source, size_t pixels,
                            size_t factor) {
    if (factor == 1)
        gather_bits(destination, source, pixels, 1);
    else if (factor == 8)
        rows.bit_to_byte(destination, source, pixels, 0xFF);
    else if (factor <= 16)
        enlarge_by_table(destination, source, pixels, factor, bytes_enlarged_to_16[factor]);
#ifdef __AVX2__
    else if (factor <= largest_planned_factor)
        enlarge_bits_by_plan(destination, source, pixels, factor);
#else
    else if (factor <= 32)
        enlarge_by_halves(destination, source, pixels, factor, halves_enlarged_to_16[factor]);
    else if (factor <= largest_planned_factor)
        enlarge_by_halves(destination, source, pixels, factor, halves_enlarged_to_24[factor]);
#endif
    else
        enlarge_bits_in_runs<V>(destination, source, pixels, factor);
}

template <auto scale_row>
inline void scale_each_row(const ScaledRows &all) {
    each_row(all, [&](uint8_t *destination, const uint8_t *source) {
        scale_row(destination, source, all.pixels, all.factor);
    });
}

template <class V, const RowKernels &rows>
inline RowScaling *bit_enlarging_kernel(size_t factor) {
    RowScaling *kernel = scale_each_row<enlarge_bit_row<V, rows>>;
    with_factor<2, 7>(factor, [&]<size_t known>() { //
        kernel = enlarge_bit_rows_by<V, known>;
    });
    return kernel;
}

template <class V>
inline RowScaling *bit_reducing_kernel(size_t factor) {
    RowScaling *kernel = scale_each_row<reduce_bits_apart<V>>;
    with_factor<2, last_bit_reduce_step>(factor, [&]<size_t known>() {
        if constexpr (has_bit_reduce_step<known>)
            kernel = reduce_bit_rows_by<V, known>;
    });
    return kernel;
}

} // namespace
} // namespace q32::rows
