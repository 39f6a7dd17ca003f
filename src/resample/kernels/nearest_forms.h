// The wide forms of nearest neighbour: every second pixel where that is what columns read, out of
// windows where there is a shuffle of bytes and it pays, pixel by pixel otherwise.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/nearest_half.h"
#include "resample/kernels/nearest_moves.h"
#ifdef __SSE4_1__
#include "resample/kernels/nearest_windows.h"
#endif

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
        if (plan_half<Halves>(plan) || (ascend && (plan_windows<Vs>(plan) || ...)))
            return;
        plan_moves(plan);
    }

    static void across(void *line, void *memory, const uint8_t *source_row) {
        Plan &plan = *static_cast<Plan *>(memory);
        plan.make_row(static_cast<uint8_t *>(line), plan, source_row);
    }
};

} // namespace
} // namespace q32::resample
