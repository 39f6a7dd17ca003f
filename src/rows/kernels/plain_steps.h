// Fill, exchange and invert: what needs no more than loads and stores, for any width of vector.
//
// Private to the file that includes it, as vectors.h.
#pragma once

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
inline void fill_blocks(uint8_t *destination, const uint8_t *source, size_t pixels,
                        Filling *shorter) {
    using Block = PatternBlock<V>;
    const size_t size = pixels * bytes_per_pixel;
    if (size < Block::bytes) {
        shorter(destination, source, pixels);
        return;
    }
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
inline void exchange_blocks(uint8_t *a, uint8_t *b, size_t bytes, Exchange *shorter) {
    constexpr size_t step = 2 * sizeof(V);
    struct Loaded {
        V first, second;
    };
    const auto load_both = [](const uint8_t *at) {
        return Loaded{load<V>(at), load<V>(at + sizeof(V))};
    };
    const auto store_both = [](uint8_t *at, const Loaded &v) {
        store(at, v.first);
        store(at + sizeof(V), v.second);
    };
    if (bytes < step) {
        shorter(a, b, bytes);
        return;
    }
    const size_t last = bytes - step;
    const Loaded last_a = load_both(a + last), last_b = load_both(b + last);
    for (size_t done = 0; done < last; done += step) {
        const Loaded from_a = load_both(a + done), from_b = load_both(b + done);
        store_both(a + done, from_b);
        store_both(b + done, from_a);
    }
    store_both(a + last, last_b);
    store_both(b + last, last_a);
}

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

} // namespace
} // namespace q32::rows
