// The wide bilinear kernels, written once for vectors of 16 and of 32 bytes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

// There are eight registers: sums that the compiler reorders, and constants that it keeps, would be
// spilled at every step, which costs twice the time.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("live-range-shrinkage", "no-tree-reassoc")
#endif

#include "resample/kernels/bilinear_across.h"
#include "resample/kernels/bilinear_down.h"

namespace q32::resample {
namespace {

template <class V>
struct WideBilinear {
    static constexpr int lines = 2, first_line = 0;

    static size_t plan_bytes(size_t columns, int samples) {
        return PlanTables(columns, size_t(samples)).end;
    }

    // A pixel by itself is stored as 8 bytes.
    static size_t line_bytes(size_t columns, int samples) {
        return pairs_bytes(columns * size_t(samples)) + 8;
    }

    static void make_plan(void *memory, const Positions &columns, Span source, int samples) {
        with_samples(samples,
                     [&](auto constant) { plan_columns<constant>(memory, columns, source); });
    }

    static void across(void *line, void *plan, const uint8_t *source_row) {
        take_pairs<V>(static_cast<uint8_t *>(line), *static_cast<Plan *>(plan), source_row);
    }

    static constexpr auto down_rows = finish_rows<V>;

    static void down(uint8_t *destination, void *plan, const void *const *pair_lines,
                     int row_fraction) {
        down_rows(destination, 0, plan, pair_lines, &row_fraction, 1);
    }
};

} // namespace
} // namespace q32::resample
