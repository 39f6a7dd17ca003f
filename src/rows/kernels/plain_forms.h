// Fill, exchange, invert and copies: what needs no more than loads and stores, for any width of
// vector. And how the forms of the other files are walked.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/bit_run_steps.h"
#include "rows/kernels/copy_row_steps.h"
#include "rows/kernels/few_bytes.h"
#include "rows/kernels/row_kernels.h"
#include "rows/kernels/short_runs.h"
#include "simd/operations.h"
#include "simd/walk.h"

#include <bit>
#include <cstring>

namespace q32::rows {
namespace {

// --- fill ---------------------------------------------------------------------------------------

// Runs are filled in blocks of three vectors: whole pixels of each size. Between its ends a run's
// blocks begin at whole vectors; the ends are written over as they lie.
//
// A block has
//   vector(index)               one of the three
//   store_head(at)              what a run begins with
//   head(distance)              from a run's beginning to the first whole vector that the blocks
//                               begin at; `distance` is that to the first one at all
//   seen_from(head)             the blocks that begin there

template <class V, size_t bytes_per_pixel>
class FillBlock;

template <class V, size_t bytes_per_pixel>
void store_block(const FillBlock<V, bytes_per_pixel> &block, uint8_t *at) {
    for (size_t i = 0; i < 3; ++i)
        store(at + i * sizeof(V), block.vector(i));
}

// Pixels of 1, 2 and 4 bytes: every vector is the same double word throughout.
template <class V, size_t bytes_per_pixel>
class FillBlock {
public:
    static constexpr size_t bytes = 3 * sizeof(V);

    explicit FillBlock(const uint8_t *pixel) : FillBlock(repeated(pixel)) {}

    static size_t head(size_t distance) { return distance; }
    FillBlock seen_from(size_t head) const {
        return FillBlock(std::rotr(dword_, int(head % bytes_per_pixel * 8)));
    }

    // As many double words as there are before the end; returns where they end. Memory that the
    // caches do not hold is not read first, as it is for stores of vectors.
    uint8_t *store_to(uint8_t *at, const uint8_t *end) const {
        size_t dwords = size_t(end - at) / 4;
        __asm__ volatile("rep stosl" : "+D"(at), "+c"(dwords) : "a"(dword_) : "memory");
        return at;
    }

    V vector(size_t) const { return vector_; }
    void store_head(uint8_t *at) const { simd::store(at, vector_); }

private:
    explicit FillBlock(std::uint32_t dword) : dword_(dword), vector_(repeat_u32<V>(int(dword))) {}

    static std::uint32_t repeated(const uint8_t *pixel) {
        std::uint32_t dword = 0;
        std::memcpy(&dword, pixel, bytes_per_pixel);
        constexpr std::uint32_t copies[] = {0x01010101, 0x00010001, 0, 1};
        return dword * copies[bytes_per_pixel - 1];
    }

    std::uint32_t dword_;
    V vector_;
};

// Vector `index` of the endless sequence that repeats three lanes.
template <class V>
V repeat_three_lanes(const V16 (&period)[3], size_t index) {
    if constexpr (lanes<V> == 1)
        return period[index % 3];
    else
        return join_lanes<V>(period[2 * index % 3], period[(2 * index + 1) % 3]);
}

// Pixels of 3 bytes. Of three vectors in a row one begins with a pixel: there the blocks begin, so
// that they are those of the run's beginning.
template <class V>
class FillBlock<V, 3> {
public:
    static constexpr size_t bytes = 3 * sizeof(V);

    explicit FillBlock(const uint8_t *pixel) {
        const std::uint32_t p = pixel[0] | pixel[1] << 8 | pixel[2] << 16;
        const V16 a = dword(p | p << 24), b = dword(p >> 8 | p << 16), c = dword(p >> 16 | p << 8);
        const V16 ab = interleave_low_u32(a, b), bc = interleave_low_u32(b, c),
                  ca = interleave_low_u32(c, a);
        const V16 period[3] = {interleave_low_u64(ab, ca), interleave_low_u64(bc, ab),
                               interleave_low_u64(ca, bc)};
        for (size_t i = 0; i < 3; ++i)
            vectors_[i] = repeat_three_lanes<V>(period, i);
    }

    static size_t head(size_t distance) {
        constexpr size_t vectors_too_far = 3 - sizeof(V) % 3; // for each byte too far
        return distance + sizeof(V) * (vectors_too_far * distance % 3);
    }
    FillBlock seen_from(size_t) const { return *this; }

    V vector(size_t index) const { return vectors_[index]; }
    void store_head(uint8_t *at) const { store_block(*this, at); }

private:
    static V16 dword(std::uint32_t value) { return _mm_cvtsi32_si128(int(value)); }

    V vectors_[3];
};

// Fills of so many bytes, more than the caches of a core hold, are stored in another way, and again
// in another from fewest_past_caches on.
constexpr size_t fewest_past_core = 1 << 20;

// As many blocks as begin before the last one, which may lie over the end of them; returns where
// they end.
template <class Block>
uint8_t *fill_past_caches(const Block &block, uint8_t *at, const uint8_t *last) {
    constexpr size_t vector_bytes = Block::bytes / 3;
    for (; at < last; at += Block::bytes)
        for (size_t i = 0; i < 3; ++i)
            stream(at + i * vector_bytes, block.vector(i));
    fence_streams();
    return at;
}

template <class V, size_t bytes_per_pixel>
inline void fill_blocks(uint8_t *destination, const uint8_t *pixel, size_t pixels) {
    using Block = FillBlock<V, bytes_per_pixel>;
    const size_t misalignment = reinterpret_cast<std::uintptr_t>(destination) % sizeof(V);
    const size_t head = Block::head(sizeof(V) - misalignment);
    uint8_t *const last = destination + (pixels * bytes_per_pixel - Block::bytes);

    const Block block(pixel);
    block.store_head(destination);
    const Block aligned = block.seen_from(head);
    uint8_t *at = destination + head;
    const size_t bytes = pixels * bytes_per_pixel;
    if (bytes >= fewest_past_caches)
        at = fill_past_caches(aligned, at, last);
    else if constexpr (bytes_per_pixel != 3)
        if (bytes >= fewest_past_core)
            at = aligned.store_to(at, last);
    for (; at < last; at += Block::bytes)
        store_block(aligned, at);
    store_block(block, last);
}

// Less than a block of 16 bytes each. 16 bytes before the end of whole pixels is where the third
// vector begins.
template <size_t bytes_per_pixel>
inline void fill_few(uint8_t *destination, const uint8_t *pixel, size_t pixels) {
    const size_t bytes = pixels * bytes_per_pixel;
    if (bytes == 0)
        return;
    const FillBlock<V16, bytes_per_pixel> block(pixel);
    if (bytes < sizeof(V16))
        return store_few(destination, block.vector(0), bytes);
    store_16(destination, block.vector(0));
    if (bytes > 2 * sizeof(V16))
        store_16(destination + sizeof(V16), block.vector(1));
    store_16(destination + bytes - sizeof(V16), block.vector(2));
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

// Whether no form is left for a run that is too short for a step.
template <const RowKernels &narrower>
inline constexpr bool is_narrowest = false;
template <>
inline constexpr bool is_narrowest<scalar_row_kernels> = true;

template <class Step, auto entry, const RowKernels &narrower>
void converted(uint8_t *destination, const uint8_t *source, size_t pixels) {
    convert_run(destination, source, pixels, Step(), narrower.*entry);
}

// The bytes of eight pixels are the units, and the pixels of a last, incomplete byte go to the
// scalar form.
template <class Step, auto entry, const RowKernels &narrower>
void bits_converted(uint8_t *destination, const uint8_t *source, size_t pixels, uint8_t value) {
    const size_t groups = pixels / 8;
    if (groups < Step::units) {
        if (is_narrowest<narrower> && pixels >= Step::shortest_in_block)
            convert_bits_in_block(destination, source, pixels, Step(value));
        else
            (narrower.*entry)(destination, source, pixels, value);
        return;
    }
    const Step step(value);
    walk(groups, ConversionStep<Step>{destination, source, step});
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
        if (pixels * bytes_per_pixel >= FillBlock<V, bytes_per_pixel>::bytes)
            fill_blocks<V, bytes_per_pixel>(destination, pattern, pixels);
        else if constexpr (is_narrowest<narrower>)
            fill_few<bytes_per_pixel>(destination, pattern, pixels);
        else
            narrower.fill[bytes_per_pixel - 1](destination, pattern, pixels);
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
