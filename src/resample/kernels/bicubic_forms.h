// The wide bicubic kernels, written once for vectors of 16 and of 32 bytes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/bicubic_across.h"
#include "resample/kernels/bicubic_down.h"

namespace q32::resample {
namespace {

// There is no down_rows: two rows at once need more registers than there are.
template <class V>
struct WideBicubic {
    static constexpr int lines = lines_down, first_line = -1;

    static constexpr auto plan_bytes = Plan::bytes;

    static size_t line_bytes(size_t columns, int samples) {
        return LineLayout(columns, samples).bytes();
    }

    static void make_plan(void *memory, const Positions &columns, Span source, int samples) {
        Plan &plan = *new (memory) Plan(columns.count, source, samples);
        with_samples(samples,
                     [&](auto constant) { plan_columns<constant>(plan, columns, source); });
    }

    static void across(void *line_memory, void *plan_memory, const uint8_t *source_row) {
        Plan &plan = *static_cast<Plan *>(plan_memory);
        const Line<uint8_t> line(plan.layout, static_cast<uint8_t *>(line_memory));
        with_samples(plan.samples,
                     [&](auto constant) { make_line_of<constant, V>(line, plan, source_row); });
    }

    static void down(uint8_t *destination, void *plan, const void *const *line_memory,
                     int row_fraction) {
        make_row<V>(destination, *static_cast<Plan *>(plan), line_memory, row_fraction);
    }
};

} // namespace
} // namespace q32::resample
