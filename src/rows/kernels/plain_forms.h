// Fill, exchange, invert and copies: what needs no more than loads and stores, for any width of
// vector. And how the forms of the other files are walked.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/bit_run_steps.h"
#include "rows/kernels/copy_row_steps.h"
#include "rows/kernels/row_kernels.h"
#include "simd/operations.h"
#include "simd/walk.h"

namespace q32::rows {
namespace {

// --- fill ---------------------------------------------------------------------------------------

// A pixel of 1 to 4 bytes as a number, first byte lowest.
template <size_t bytes_per_pixel>
class Pattern {
public:
    explicit Pattern(const uint8_t *pattern) {
        for (size_t i = 0; i < bytes_per_pixel; ++i)
            value_ |= std::uint32_t(pattern[i]) << 8 * i;
    }

    // The pattern as seen from `bytes` bytes further on.
    Pattern shifted(size_t bytes) const {
        Pattern result = *this;
        for (size_t i = bytes % bytes_per_pixel; i > 0; --i)
            result.value_ = result.value_ >> 8 | (result.value_ & 0xFF)
                                                     << 8 * (bytes_per_pixel - 1);
        return result;
    }

    // Its first four bytes when repeated.
    int dword() const {
        std::uint32_t repeated = value_;
        for (size_t filled = bytes_per_pixel; filled < 4; filled *= 2)
            repeated |= repeated << 8 * filled;
        return int(repeated);
    }

private:
    std::uint32_t value_ = 0;
};

// Vector `index` of the endless sequence that repeats three lanes.
template <class V>
V repeat_three_lanes(const V16 (&period)[3], size_t index) {
    if constexpr (lanes<V> == 1)
        return period[index % 3];
    else
        return join_lanes<V>(period[2 * index % 3], period[(2 * index + 1) % 3]);
}

// Three vectors of a repeated pattern: whole pixels of each size, since 48 is a multiple of each.
template <class V>
class PatternBlock {
public:
    static constexpr size_t bytes = 3 * sizeof(V);

    template <size_t bytes_per_pixel>
    explicit PatternBlock(Pattern<bytes_per_pixel> pattern) {
        const int a = pattern.dword(), b = pattern.shifted(4).dword(),
                  c = pattern.shifted(8).dword();
        const V16 period[3] = {_mm_setr_epi32(a, b, c, a), _mm_setr_epi32(b, c, a, b),
                               _mm_setr_epi32(c, a, b, c)};
        for (size_t i = 0; i < 3; ++i)
            vectors_[i] = repeat_three_lanes<V>(period, i);
    }

    void store_all(uint8_t *at) const {
        for (size_t i = 0; i < 3; ++i)
            store(at + i * sizeof(V), vectors_[i]);
    }
    void store_first(uint8_t *at) const { store(at, vectors_[0]); }

private:
    V vectors_[3];
};

// The blocks between the ends begin at whole vectors; the ends are written over as they lie.
template <class V, size_t bytes_per_pixel>
inline void fill_blocks(uint8_t *destination, const uint8_t *source, size_t pixels) {
    using Block = PatternBlock<V>;
    const size_t size = pixels * bytes_per_pixel;
    const Pattern<bytes_per_pixel> pattern(source);
    const Block unshifted(pattern);
    uint8_t *const last = destination + (size - Block::bytes);
    unshifted.store_first(destination);

    const size_t misalignment = reinterpret_cast<std::uintptr_t>(destination) % sizeof(V);
    const size_t head = sizeof(V) - misalignment;
    const Block shifted(pattern.shifted(head));
    for (uint8_t *at = destination + head; at < last; at += Block::bytes)
        shifted.store_all(at);
    unshifted.store_all(last);
}

// --- exchange -----------------------------------------------------------------------------------

template <class V>
struct ExchangeStep {
    static constexpr size_t units = 2 * sizeof(V);
    struct Held {
        V a[2], b[2];
    };

    uint8_t *a, *b;

    Held held(size_t at) const {
        return {{load<V>(a + at), load<V>(a + at + sizeof(V))},
                {load<V>(b + at), load<V>(b + at + sizeof(V))}};
    }
    void make(size_t at, const Held &v) const {
        store(a + at, v.b[0]);
        store(a + at + sizeof(V), v.b[1]);
        store(b + at, v.a[0]);
        store(b + at + sizeof(V), v.a[1]);
    }
    void make(size_t at) const { make(at, held(at)); }
};

// --- invert -------------------------------------------------------------------------------------

template <class V>
struct Invert {
    static constexpr size_t units = 2 * sizeof(V), source_bytes = 1, destination_bytes = 1;
    struct Loaded {
        V first, second;
    };

    Loaded load(const uint8_t *source) const {
        return {simd::load<V>(source), simd::load<V>(source + sizeof(V))};
    }
    void store(uint8_t *destination, const Loaded &v) const {
        simd::store(destination, ~v.first);
        simd::store(destination + sizeof(V), ~v.second);
    }
};

// --- walks --------------------------------------------------------------------------------------

template <class Step, auto entry, const RowKernels &narrower>
void converted(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, Step(), narrower.*entry);
}

// The bytes of eight pixels are the units, and the pixels of a last, incomplete byte go to the
// scalar form.
template <class Step, auto entry, const RowKernels &narrower>
void bits_converted(uint8_t *destination, const uint8_t *source, size_t pixels, uint8_t value) {
    const size_t groups = pixels / 8;
    convert_run(destination, source, groups, Step(value),
                [=](uint8_t *to, const uint8_t *from, size_t count) {
                    (narrower.*entry)(to, from, 8 * count, value);
                });
    if (pixels % 8 != 0)
        (scalar_row_kernels.*entry)(destination + groups * Step::destination_bytes,
                                    source + groups * Step::source_bytes, pixels % 8, value);
}

// --- the forms ----------------------------------------------------------------------------------

// Runs that are shorter than a step go to the same entry of the narrower forms' table.
template <class V, const RowKernels &narrower>
struct PlainRows : NarrowerRows<narrower> {
    template <size_t bytes_per_pixel>
    static void fill(uint8_t *destination, const uint8_t *pattern, size_t pixels) {
        if (pixels * bytes_per_pixel < PatternBlock<V>::bytes)
            narrower.fill[bytes_per_pixel - 1](destination, pattern, pixels);
        else
            fill_blocks<V, bytes_per_pixel>(destination, pattern, pixels);
    }
    static void exchange(uint8_t *a, uint8_t *b, size_t bytes) {
        if (bytes < ExchangeStep<V>::units)
            narrower.exchange(a, b, bytes);
        else
            walk(bytes, ExchangeStep<V>{a, b});
    }
    static constexpr auto invert = converted<Invert<V>, &RowKernels::invert, narrower>;
    static constexpr auto copy_rows = copy_strided_rows<V>;
    static constexpr auto copy_bit_rows = copy_bit_runs<V>;
};

} // namespace
} // namespace q32::rows
