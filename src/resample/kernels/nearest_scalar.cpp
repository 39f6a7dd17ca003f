// Nearest neighbour, one pixel after another: the reference.
#include "resample/kernels/resample_tables.h"

#include <cstring>

namespace q32::resample {
namespace {

// Followed by the distance of each column's pixel from the start of the source row.
struct Plan {
    std::size_t columns;
    int pixel_bytes;

    std::size_t *offsets() { return reinterpret_cast<std::size_t *>(this + 1); }
};

std::size_t plan_bytes(std::size_t columns, int) {
    return sizeof(Plan) + columns * sizeof(std::size_t);
}

void make_plan(void *memory, const Positions &columns, Extent source, int pixel_bytes) {
    auto *plan = static_cast<Plan *>(memory);
    plan->columns = columns.count;
    plan->pixel_bytes = pixel_bytes;
    for (std::size_t x = 0; x < columns.count; ++x)
        plan->offsets()[x] =
            std::size_t(source.cut(columns.index[x]) - source.first) * std::size_t(pixel_bytes);
}

void across(void *line, void *memory, const std::uint8_t *source_row) {
    auto *destination = static_cast<std::uint8_t *>(line);
    auto *plan = static_cast<Plan *>(memory);
    for (std::size_t x = 0; x < plan->columns; ++x, destination += plan->pixel_bytes)
        std::memcpy(destination, source_row + plan->offsets()[x], std::size_t(plan->pixel_bytes));
}

} // namespace

const MethodKernels nearest_scalar{
    .plan_bytes = plan_bytes, .make_plan = make_plan, .across = across};

} // namespace q32::resample
