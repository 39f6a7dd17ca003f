// Nearest neighbour, one pixel after another: the reference.
#include "resample/kernels/method_forms.h"

#include <cstring>

namespace q32::resample {
namespace {

// Out of cells.
struct ScalarNearestInCells {
    struct Column {
        std::size_t cell, offset; // of the pixel's first byte in the cell's row
    };
    using Plan = ScalarPlan<Column>;

    static void make_plan(void *memory, const std::int32_t *indices, std::size_t columns,
                          std::size_t cell_pixels, int pixel_bytes) {
        auto *plan = new (memory) Plan{columns, pixel_bytes};
        for (std::size_t x = 0; x < columns; ++x)
            plan->column()[x] = {std::size_t(indices[x]) / cell_pixels,
                                 std::size_t(indices[x]) % cell_pixels * unsigned(pixel_bytes)};
    }

    static void make_rows(std::uint8_t *destination, std::size_t stride, void *memory,
                          std::size_t cell_stride, const AlikeRows *rows, std::size_t count) {
        auto *plan = static_cast<Plan *>(memory);
        const auto pixel_bytes = std::size_t(plan->samples);
        const auto make_row = [&](const std::uint8_t *source) {
            for (std::size_t x = 0; x < plan->columns; ++x) {
                const Column &column = plan->column()[x];
                std::memcpy(destination + x * pixel_bytes,
                            source + column.cell * cell_stride + column.offset, pixel_bytes);
            }
            destination += stride;
        };
        for (const AlikeRows *alike = rows; alike != rows + count; ++alike)
            for (std::size_t i = 0; i < alike->count; ++i)
                make_row(alike->source);
    }
};

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

    static constexpr CellKernels in_cells = {ScalarNearestInCells::Plan::bytes,
                                             ScalarNearestInCells::make_plan,
                                             ScalarNearestInCells::make_rows, 1};
};

} // namespace

constexpr MethodKernels scalar_nearest_kernels = method_kernels<ScalarNearest>();

} // namespace q32::resample
