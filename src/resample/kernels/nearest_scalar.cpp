// Nearest neighbour, one pixel after another: the reference.
#include "resample/kernels/method_forms.h"

#include <cstring>

namespace q32::resample {
namespace {

struct ScalarNearest {
    // A column is where its pixel begins in the source row.
    using Plan = ScalarPlan<std::size_t>;
    static constexpr auto plan_bytes = Plan::bytes;

    static void make_plan(void *memory, const Positions &columns, Span source, int pixel_bytes) {
        auto *plan = new (memory) Plan{columns.count, pixel_bytes};
        for (std::size_t x = 0; x < columns.count; ++x)
            plan->column()[x] =
                std::size_t(source.distance(columns.index[x])) * std::size_t(pixel_bytes);
    }

    static void across(void *line, void *memory, const std::uint8_t *source_row) {
        auto *destination = static_cast<std::uint8_t *>(line);
        auto *plan = static_cast<Plan *>(memory);
        const auto pixel_bytes = std::size_t(plan->samples);
        for (std::size_t x = 0; x < plan->columns; ++x, destination += pixel_bytes)
            std::memcpy(destination, source_row + plan->column()[x], pixel_bytes);
    }

    static void across_rows(std::uint8_t *destination, std::size_t stride, void *memory,
                            const SourceBand &source, const std::int32_t *row_indices,
                            std::size_t rows) {
        for (std::size_t y = 0; y < rows; ++y)
            across(destination + y * stride, memory, source.row(row_indices[y]));
    }
};

} // namespace

constexpr MethodKernels scalar_nearest_kernels = method_kernels<ScalarNearest>();

} // namespace q32::resample
