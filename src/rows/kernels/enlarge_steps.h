// Enlarging pixels, written once for vectors of all sizes. Small factors have their places of every
// byte worked out by the compiler: a shuffle makes a vector. For others each pixel is repeated in a
// vector that is stored as often as its run needs.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/few_bytes.h"
#include "rows/kernels/scaling_pixels.h"
#include "rows/kernels/scaling_walk.h"
#include "rows/kernels/with_factor.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <utility>

namespace q32::rows {
namespace {

// --- runs of any length -------------------------------------------------------------------------

// A pixel as a number, its bytes in the order of the destination.
template <class Pixel>
inline int load_pixel(const uint8_t *source) {
    unsigned pixel = 0;
    for (size_t i = 0; i < Pixel::bytes; ++i)
        pixel |= unsigned(source[Pixel::in_pixel(i)]) << 8 * i;
    return int(pixel);
}

// As many pixels as a vector holds, and of another one what is left of the vector.
template <class V, size_t bytes>
V repeat_pixel(int pixel) {
    if constexpr (bytes == 1) {
        return repeat_u8<V>(pixel);
    } else if constexpr (bytes == 2) {
        return repeat_u16<V>(pixel);
    } else if constexpr (bytes == 4) {
        return repeat_u32<V>(pixel);
    } else {
#ifdef __SSE4_1__
        static constexpr VectorBytes<V> indices =
            vector_by<V>([](int i) { return i % int(bytes); });
        return shuffle_u8(repeat_u32<V>(pixel), as_vector<V>(indices));
#else
        V v = _mm_cvtsi32_si128(pixel & 0xFFFFFF);
        v = v | _mm_slli_si128(v, 3);
        v = v | _mm_slli_si128(v, 6);
        return v | _mm_slli_si128(v, 12);
#endif
    }
}

// A pixel that another one follows: it may be read as a number that reaches into that.
template <class V, class Pixel>
V repeat_followed_pixel(const uint8_t *source) {
    if constexpr (Pixel::bytes == 3) {
        std::uint32_t number;
        std::memcpy(&number, source, sizeof number);
#ifdef __SSE4_1__
        static constexpr VectorBytes<V> indices =
            vector_by<V>([](int i) { return Pixel::in_pixel(size_t(i) % 3); });
        return shuffle_u8(repeat_u32<V>(int(number)), as_vector<V>(indices));
#else
        constexpr bool is_swapped = Pixel::in_pixel(0) != 0;
        return repeat_pixel<V, 3>(int(is_swapped ? __builtin_bswap32(number) >> 8 : number));
#endif
    } else {
        return repeat_pixel<V, Pixel::bytes>(load_pixel<Pixel>(source));
    }
}

// Of a vector, the bytes that are whole pixels.
template <class V, size_t bytes>
inline constexpr size_t whole_pixels = sizeof(V) / bytes *bytes;

// A run of one pixel in whole vectors, the last of which may reach beyond its end.
template <class V, size_t bytes>
inline void store_run(uint8_t *destination, size_t run_bytes, V pixels) {
    for (size_t done = 0; done < run_bytes; done += whole_pixels<V, bytes>)
        store(destination + done, pixels);
}

// The same up to the last byte and not beyond.
template <class V, size_t bytes>
inline void store_last_run(uint8_t *destination, size_t run_bytes, V pixels) {
    size_t done = 0;
    for (; run_bytes - done >= sizeof(V); done += whole_pixels<V, bytes>)
        store(destination + done, pixels);
    uint8_t rest[sizeof(V)];
    store(rest, pixels);
    std::memcpy(destination + done, rest, run_bytes - done);
}

// Runs reach into the next ones, which are stored later, as long as those are long enough. The last
// ones are put together elsewhere, unless they are one that is long.
template <class V, class Pixel>
void enlarge_in_runs(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor) {
    constexpr size_t bytes = Pixel::bytes;
    const size_t run_bytes = bytes * factor;
    const size_t last = std::min(pixels, (sizeof(V) - 1 + run_bytes - 1) / run_bytes);
    const auto repeated = [&] { return repeat_pixel<V, bytes>(load_pixel<Pixel>(source)); };
    const auto store_runs = [&](uint8_t *to, size_t count, const auto &repeat) {
        for (; count != 0; --count, source += bytes, to += run_bytes)
            store_run<V, bytes>(to, run_bytes, repeat());
    };

    store_runs(destination, pixels - last, [&] { return repeat_followed_pixel<V, Pixel>(source); });
    destination += (pixels - last) * run_bytes;
    if (run_bytes < sizeof(V)) {
        uint8_t row_end[3 * sizeof(V)];
        store_runs(row_end, last, repeated);
        std::memcpy(destination, row_end, last * run_bytes);
    } else if (last != 0) {
        store_last_run<V, bytes>(destination, run_bytes, repeated());
    }
}

// --- small factors ------------------------------------------------------------------------------

#ifndef __SSE4_1__

template <class Pixel>
inline constexpr size_t last_step = Pixel::bytes == 1 ? 8 : 4;

template <class Pixel, size_t factor>
inline constexpr bool has_enlarge_step = Pixel::bytes != 3 &&
                                         (factor == 2 || factor == 4 || factor == 8);

// Each pixel twice.
template <size_t bytes>
Pairs<V16> pairs_of_pixels(V16 v) {
    if constexpr (bytes == 1)
        return pairs_u8(v, v);
    else if constexpr (bytes == 2)
        return pairs_u16(v, v);
    else
        return pairs_u32(v, v);
}

// Without a byte shuffle: a vector interleaved with itself.
template <class V, class Pixel, size_t factor>
struct EnlargeStep {
    static constexpr size_t units = sizeof(V) / Pixel::bytes, source_bytes = Pixel::bytes,
                            destination_bytes = Pixel::bytes * factor;
    using Loaded = V;

    Loaded load(const uint8_t *source) const { return simd::load<V>(source); }
    void store(uint8_t *destination, V v) const {
        const Pairs<V> twice = pairs_of_pixels<Pixel::bytes>(v);
        if constexpr (factor == 2) {
            simd::store(destination, twice.low);
            simd::store(destination + sizeof(V), twice.high);
        } else {
            const EnlargeStep<V, Pixel, factor / 2> half;
            half.store(destination, twice.low);
            half.store(destination + factor / 2 * sizeof(V), twice.high);
        }
    }
};

#else

// Longer runs are stored as such.
template <class Pixel>
inline constexpr size_t last_step = Pixel::bytes == 1 ? 12
                                    : Pixel::bytes == 2 ? 6
                                                        : 4;

template <class Pixel, size_t factor>
inline constexpr bool has_enlarge_step = true;

// Every part of a destination vector comes from a window of the source, both as wide as the reach.
template <class V>
struct VectorPlan {
    static constexpr size_t parts = sizeof(V) / reach<V>;
    size_t window[parts];
    alignas(sizeof(V)) uint8_t indices[sizeof(V)];
};

template <class V, class Pixel, size_t factor>
struct EnlargeStep {
    static constexpr size_t source_bytes = Pixel::bytes, destination_bytes = Pixel::bytes * factor;
    // Whole vectors here, and at least one window there.
    static constexpr size_t units = [] {
        size_t pixels = sizeof(V) / std::gcd(sizeof(V), destination_bytes);
        while (pixels * source_bytes < reach<V>)
            pixels *= 2;
        return pixels;
    }();
    static constexpr size_t vectors = units * destination_bytes / sizeof(V);

    // Rows never overlap: nothing needs to be held.
    using Loaded = const uint8_t *;
    Loaded load(const uint8_t *source) const { return source; }

    void store(uint8_t *destination, Loaded source) const {
        store_each(destination, source, std::make_index_sequence<vectors>());
    }

private:
    static constexpr size_t source_of(size_t at) {
        return at / destination_bytes * source_bytes + Pixel::in_pixel(at % Pixel::bytes);
    }
    // The window from the pixel of a byte on, but never beyond the end of the step.
    static constexpr size_t window_of(size_t at) {
        return std::min(at / destination_bytes * source_bytes, units * source_bytes - reach<V>);
    }
    static constexpr bool fits(size_t window, size_t begin) {
        for (size_t i = 0; i < reach<V>; ++i)
            if (source_of(begin + i) >= window + reach<V>)
                return false;
        return true;
    }
    // Where one window serves for all parts, one load does.
    static constexpr VectorPlan<V> plan_of(size_t vector) {
        VectorPlan<V> plan{};
        for (size_t part = 0; part < plan.parts; ++part) {
            const size_t begin = vector * sizeof(V) + part * reach<V>;
            const size_t window = fits(plan.window[0], begin) ? plan.window[0] : window_of(begin);
            plan.window[part] = part == 0 ? window_of(begin) : window;
            for (size_t i = 0; i < reach<V>; ++i)
                plan.indices[part * reach<V> + i] =
                    uint8_t(source_of(begin + i) - plan.window[part]);
        }
        return plan;
    }

    template <size_t vector>
    static V make(const uint8_t *source) {
        static constexpr VectorPlan<V> plan = plan_of(vector);
        const V indices = simd::load<V>(plan.indices);
        if constexpr (plan.parts == 1)
            return permute_u8(simd::load<V>(source + plan.window[0]), indices);
        else if constexpr (plan.window[0] == plan.window[1])
            return permute_u8(repeat_lane<V>(load_16(source + plan.window[0])), indices);
        else
            return permute_u8(
                load_lanes<V>(source + plan.window[0], plan.window[1] - plan.window[0]), indices);
    }
    template <size_t... vector>
    static void store_each(uint8_t *destination, const uint8_t *source,
                           std::index_sequence<vector...>) {
        (simd::store(destination + vector * sizeof(V), make<vector>(source)), ...);
    }
};

// Rows that fit one register: every 16 bytes of the destination are a choice of bytes out of it.
template <class Pixel, size_t factor>
inline void enlarge_few_pixels(const ScaledRows &all) {
    static constexpr auto places = [] {
        std::array<LaneBytes, factor> all_lanes{};
        for (size_t at = 0; at < 16 * factor; ++at)
            all_lanes[at / 16].at[at % 16] = uint8_t(at / (Pixel::bytes * factor) * Pixel::bytes +
                                                     Pixel::in_pixel(at % Pixel::bytes));
        return all_lanes;
    }();
    const size_t bytes = all.pixels * Pixel::bytes, enlarged = bytes * factor;
    each_row(all, [=](uint8_t *destination, const uint8_t *source) {
        const V16 pixels = load_few(source, bytes);
        const auto made = [=](size_t at) {
            return shuffle_u8(pixels, as_vector<V16>(places[at / 16]));
        };
        size_t at = 0;
        for (; at + sizeof(V16) <= enlarged; at += sizeof(V16))
            store_16(destination + at, made(at));
        if (at != enlarged)
            store_few(destination + at, made(at), enlarged - at);
    });
}

#endif

template <class V, class Pixel>
void enlarge_each_in_runs(const ScaledRows &all) {
    // Stores of 32 bytes that begin anywhere touch two cache lines half of the time: only where
    // they are fewer.
    if constexpr (sizeof(V) > sizeof(V16)) {
        const size_t run_bytes = Pixel::bytes * all.factor;
        if (run_bytes <= 16 || (run_bytes > 32 && run_bytes <= 48))
            return enlarge_each_in_runs<V16, Pixel>(all);
    }
    each_row(all, [&](uint8_t *destination, const uint8_t *source) {
        enlarge_in_runs<V, Pixel>(destination, source, all.pixels, all.factor);
    });
}

// Rows that are too short for a step of one lane. A few pixels of several bytes are moved sooner
// one by one.
template <class Pixel, size_t factor>
inline void enlarge_short_rows(const ScaledRows &all, [[maybe_unused]] RowScaling *shorter) {
#ifdef __SSE4_1__
    if constexpr (Pixel::bytes == 1 || factor > 4)
        if (all.pixels * Pixel::bytes <= sizeof(V16) && all.pixels > 1)
            return enlarge_few_pixels<Pixel, factor>(all);
#endif
    if constexpr (factor > 4)
        enlarge_each_in_runs<V16, Pixel>(all);
    else
        shorter(all);
}

template <class V, class Pixel, size_t factor, PixelKind kind, const ScalingKernels &narrower>
inline void enlarge_by(const ScaledRows &all) {
    using Step = EnlargeStep<V, Pixel, factor>;
    if (all.pixels >= Step::units)
        convert_each_row(all, all.pixels, Step{});
    else if constexpr (lanes<V> == 1)
        enlarge_short_rows<Pixel, factor>(all, narrower.enlarge[size_t(kind)]);
    else
        narrower.enlarge[size_t(kind)](all);
}

template <class V, class Pixel, PixelKind kind, const ScalingKernels &narrower>
inline RowScaling *enlarging_kernel(size_t factor) {
    RowScaling *kernel = enlarge_each_in_runs<V, Pixel>;
    with_factor<2, last_step<Pixel>>(factor, [&]<size_t known>() {
        if constexpr (has_enlarge_step<Pixel, known>)
            kernel = enlarge_by<V, Pixel, known, kind, narrower>;
    });
    return kernel;
}

} // namespace
} // namespace q32::rows
