// Twice the size in both directions: a row on a source row and the one half-way to the next, which
// are made together.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/bilinear_double.h"

#include <cstring>

namespace q32::resample {
namespace {

// The compiler would rather load it again and again, and that is what then takes the time.
template <class V>
[[gnu::always_inline]] inline V in_register(V v) {
    __asm__("" : "+x"(v));
    return v;
}

// --- out of lines -------------------------------------------------------------------------------

template <size_t samples, class V>
void make_two_rows_of_lines(uint8_t *destination, size_t stride, size_t bytes, const uint8_t *above,
                            const uint8_t *below) {
    uint8_t *const between = destination + stride;
    V upper = zero<V>(), lower = zero<V>();
    const auto make = [&](size_t at) __attribute__((always_inline)) {
        const V p00 = in_register(load<V>(above + at));
        const V p10 = in_register(load<V>(above + at + samples));
        upper = on_row(p00, p10);
        lower = between_rows(p00, p10, in_register(load<V>(below + at)),
                             in_register(load<V>(below + at + samples)));
    };
    size_t at = 0;
    for (; at + sizeof(V) <= bytes; at += sizeof(V)) {
        make(at);
        store(destination + at, upper);
        store(between + at, lower);
    }
    if (at < bytes) {
        make(at);
        store_first(destination + at, upper, bytes - at);
        store_first(between + at, lower, bytes - at);
    }
}

// --- straight out of source rows ----------------------------------------------------------------

// Pixels of 1 and 4 samples: nothing is computed of columns that lie on a pixel but the average
// down; even and odd columns are put together in the end.
template <size_t samples, class V>
[[gnu::always_inline]] inline void store_in_turns(uint8_t *to, V even, V odd) {
    const auto [low, high] = samples == 1 ? pairs_u8(even, odd) : pairs_u32(even, odd);
    store(to, low);
    store(to + sizeof(V), high);
}

template <size_t samples, class V>
[[gnu::always_inline]] inline void make_step(uint8_t *on, uint8_t *between, const uint8_t *above,
                                             const uint8_t *below) {
    // Complements, as in lines, in the order that pairs need.
    const auto complements = [](const uint8_t *at) __attribute__((always_inline)) {
        return in_register(~dealt_to_lanes(load<V>(at)));
    };
    const V p00 = complements(above), p10 = complements(above + samples);
    store_in_turns<samples>(on, ~p00, on_row(p00, p10));
    const V p01 = complements(below), p11 = complements(below + samples);
    store_in_turns<samples>(between, on_row(p00, p01), between_rows(p00, p10, p01, p11));
}

// The last pixels of a row, in a block where their neighbours are: that of the row's last pixel is
// this itself.
template <size_t samples, class V>
struct LastPixels {
    uint8_t bytes[sizeof(V) + samples];

    LastPixels(const uint8_t *from, size_t left) {
        const size_t count = std::min(left, sizeof bytes);
        std::memcpy(bytes, from, count);
        for (size_t i = count; i < std::min(count + samples, sizeof bytes); ++i)
            bytes[i] = bytes[i - samples];
    }
};

template <size_t samples, class V>
void make_two_rows(uint8_t *destination, size_t stride, const Plan &plan, const uint8_t *above,
                   const uint8_t *below) {
    constexpr size_t step = sizeof(V);
    const auto first = size_t(plan.left[0]);
    const size_t bytes = plan.row_samples, source_bytes = plan.row_bytes - first;
    above += first;
    below += first;
    uint8_t *const between = destination + stride;
    size_t at = 0; // in the source
    for (; at + step + samples <= source_bytes && 2 * (at + step) <= bytes; at += step)
        make_step<samples, V>(destination + 2 * at, between + 2 * at, above + at, below + at);
    for (; 2 * at < bytes; at += step) {
        const LastPixels<samples, V> upper(above + at, source_bytes - at);
        const LastPixels<samples, V> lower(below + at, source_bytes - at);
        uint8_t made[2][2 * step];
        make_step<samples, V>(made[0], made[1], upper.bytes, lower.bytes);
        const size_t count = std::min(bytes - 2 * at, 2 * step);
        std::memcpy(destination + 2 * at, made[0], count);
        std::memcpy(between + 2 * at, made[1], count);
    }
}

// --- all rows -----------------------------------------------------------------------------------

template <size_t samples, class V>
struct DoubledSteps {
    static constexpr int lines = 2, first_line = 0;
    const Plan &plan;

    bool straight(uint8_t *destination, size_t stride, const uint8_t *above, const uint8_t *below,
                  const std::int32_t *row_fraction, size_t rows) const {
        if constexpr (goes_by_lines)
            return false;
        if (!are_two(row_fraction, rows))
            return false;
        make_two_rows<samples, V>(destination, stride, plan, above, below);
        return true;
    }

    void across(void *line, const uint8_t *source_row) const {
        double_row<samples, DoubledBy<samples, V>>(static_cast<uint8_t *>(line), plan, source_row);
    }

    void down(uint8_t *destination, size_t stride, const void *const *pair_lines,
              const std::int32_t *row_fraction, size_t rows) const {
        const auto *const above = static_cast<const uint8_t *>(pair_lines[0]);
        const auto *const below = static_cast<const uint8_t *>(pair_lines[1]);
        if (goes_by_lines && are_two(row_fraction, rows) && may_alternate(destination, stride))
            make_two_rows_of_lines<samples, V>(destination, stride, plan.row_samples, above, below);
        else
            make_doubled_rows<V>(destination, stride, plan, above, below, row_fraction, rows);
    }

private:
    // Pixels of three bytes lose more by putting columns together than lines cost; 64 bytes have
    // one port for that.
    static constexpr bool goes_by_lines = samples == 3 || lanes<V> == 4;

    // Stores of 64 bytes that lie across lines lose more in two rows in turns than is gained.
    static bool may_alternate(const uint8_t *destination, size_t stride) {
        return lanes<V> < 4 ||
               (reinterpret_cast<std::uintptr_t>(destination) | stride) % sizeof(V) == 0;
    }

    static bool are_two(const std::int32_t *row_fraction, size_t rows) {
        return rows == 2 && (row_fraction[0] & 0xFFFF) == 0 && (row_fraction[1] & 0xFFFF) == half;
    }
};

} // namespace
} // namespace q32::resample
