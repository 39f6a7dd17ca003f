// The wide forms of nearest neighbour: every second pixel where that is what columns read, out of
// windows where there is a shuffle of bytes and it pays, pixel by pixel otherwise.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#ifdef __SSE4_1__
#include "resample/kernels/nearest_cells.h"
#endif
#include "resample/kernels/nearest_moves.h"
#include "resample/kernels/nearest_rows.h"

namespace q32::resample {
namespace {

// By windows of the first of these vectors that can; every second pixel by the vectors of halves.
template <class Halves, class... Vs>
struct WideNearest {
    static size_t plan_bytes(size_t columns, [[maybe_unused]] int pixel_bytes) {
        return sizeof(Plan) + (columns + spare_offsets) * sizeof(Offset) +
               std::max({size_t(0), bytes_behind_offsets<Vs>(columns, pixel_bytes)...});
    }

    static void make_plan(void *memory, const Positions &columns, Span source, int pixel_bytes) {
        Plan &plan = *static_cast<Plan *>(memory);
        plan.columns = columns.count;
        plan.row_bytes = columns.count * size_t(pixel_bytes);
        plan.source_bytes = size_t(source.count) * size_t(pixel_bytes);
        plan.pixel_bytes = pixel_bytes;
        const bool ascend = make_offsets(plan.offsets(), columns, source, pixel_bytes);
        if (plan_half<Halves>(plan)) {
            plan.make_rows = rows_of_halves<Halves>(plan);
        } else if (!ascend || !(by_windows<Vs>(plan) || ...)) {
            plan_moves(plan);
            plan.make_rows = rows_of_moves<Halves>(plan);
        }
    }

    static void across(void *line, void *memory, const uint8_t *source_row) {
        Plan &plan = *static_cast<Plan *>(memory);
        plan.make_row(static_cast<uint8_t *>(line), plan, source_row);
    }

    static void across_rows(uint8_t *destination, size_t stride, void *memory,
                            const SourceBand &source, const std::int32_t *row_indices,
                            size_t rows) {
        Plan &plan = *static_cast<Plan *>(memory);
        plan.make_rows(destination, stride, plan, source, row_indices, rows);
    }

#ifdef __SSE4_1__
    static constexpr CellKernels in_cells = kernels_in_cells;
#endif

private:
    template <class V>
    static bool by_windows([[maybe_unused]] Plan &plan) {
#ifdef __SSE4_1__
        if (plan_windows<V>(plan)) {
            plan.make_rows = rows_of_windows<V>(plan);
            return true;
        }
#endif
        return false;
    }
};

} // namespace
} // namespace q32::resample
