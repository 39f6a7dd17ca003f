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
#include "resample/kernels/bilinear_two_rows.h"
#include "resample/kernels/rows_by_lines.h"
#ifdef __SSE4_1__
#include "resample/kernels/bilinear_straight.h"
#endif

namespace q32::resample {
namespace {

// By V; where bytes and pairs are taken as they lie, by W.
template <class V, class W = V>
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
        with_samples(samples, [&](auto constant) {
            if (!plan_doubled<constant>(memory, columns, source))
                plan_columns<constant>(memory, columns, source);
        });
    }

    static void across(void *line, void *memory, const uint8_t *source_row) {
        Plan &plan = *static_cast<Plan *>(memory);
        if (plan.is_doubled)
            make_doubled_line<W>(static_cast<uint8_t *>(line), plan, source_row);
        else
            take_pairs<V>(static_cast<uint8_t *>(line), plan, source_row);
    }

    static void down_rows(uint8_t *destination, size_t stride, void *memory,
                          const void *const *lines, const std::int32_t *row_fractions,
                          size_t rows) {
        const Plan &plan = *static_cast<const Plan *>(memory);
        const auto *const above = static_cast<const uint8_t *>(lines[0]);
        const auto *const below = static_cast<const uint8_t *>(lines[1]);
        if (plan.is_doubled)
            make_doubled_rows<W>(destination, stride, plan, above, below, row_fractions, rows);
        else
            finish_rows<V>(destination, stride, plan, above, below, row_fractions, rows);
    }

    static void down(uint8_t *destination, void *plan, const void *const *pair_lines,
                     int row_fraction) {
        down_rows(destination, 0, plan, pair_lines, &row_fraction, 1);
    }

    static void make_rows(uint8_t *destination, size_t stride, void *memory, KeptLines &kept,
                          const SourceRowList &source, const Positions &rows) {
        Plan &plan = *static_cast<Plan *>(memory);
        const auto make = [&](const auto &steps) {
            make_rows_by_lines(destination, stride, kept, source, rows, steps);
        };
        if (plan.is_doubled)
            with_samples(int(plan.samples),
                         [&](auto samples) { make(DoubledSteps<samples, W>{plan}); });
        else
            make(AnySteps{plan});
    }

#ifdef __SSE4_1__
    static bool straight(uint8_t *destination, void *plan, const uint8_t *const *source_rows,
                         int row_fraction) {
        return make_straight<V, W>(destination, *static_cast<Plan *>(plan),
                                   {source_rows[0], source_rows[1]}, row_fraction & 0xFFFF);
    }
#endif

private:
    struct AnySteps {
        static constexpr int lines = WideBilinear::lines, first_line = WideBilinear::first_line;
        Plan &plan;

        void across(void *line, const uint8_t *source_row) const {
            WideBilinear::across(line, &plan, source_row);
        }
        void down(uint8_t *destination, size_t stride, const void *const *pair_lines,
                  const std::int32_t *row_fractions, size_t rows) const {
            down_rows(destination, stride, &plan, pair_lines, row_fractions, rows);
        }
    };
};

} // namespace
} // namespace q32::resample
