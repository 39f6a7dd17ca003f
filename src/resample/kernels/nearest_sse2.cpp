// Nearest neighbour for SSE2, which cannot choose bytes: whole pixels are moved.
#include "resample/kernels/nearest_moves.h"
#include "resample/kernels/resample_tables.h"

namespace q32::resample {
namespace {

struct Plan {
    std::size_t columns, with_a_byte_more;
    int pixel_bytes;

    Offset *offsets() { return reinterpret_cast<Offset *>(this + 1); }
};

std::size_t plan_bytes(std::size_t columns, int) {
    return sizeof(Plan) + columns * sizeof(Offset);
}

void make_plan(void *memory, const Positions &columns, Extent source, int pixel_bytes) {
    auto *plan = static_cast<Plan *>(memory);
    for (std::size_t x = 0; x < columns.count; ++x)
        plan->offsets()[x] = offset_of(columns.index[x], source, pixel_bytes);
    plan->columns = columns.count;
    plan->with_a_byte_more = columns_that_move_a_byte_more(
        plan->offsets(), columns.count, offset_of(source.last(), source, pixel_bytes));
    plan->pixel_bytes = pixel_bytes;
}

void across(void *line, void *memory, const std::uint8_t *source_row) {
    auto *plan = static_cast<Plan *>(memory);
    moves[plan->pixel_bytes](static_cast<std::uint8_t *>(line), source_row, plan->offsets(),
                             plan->columns, plan->with_a_byte_more);
}

} // namespace

const MethodKernels nearest_sse2{
    .plan_bytes = plan_bytes, .make_plan = make_plan, .across = across};

} // namespace q32::resample
