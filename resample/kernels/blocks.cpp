// Blocks, row by row.
#include "resample/kernels/blocks.h"

#include "resample/kernels/row_window.h"

#include <cstring>

namespace q32::resample {

std::size_t work_bytes(const NearestKernels &kernels, std::size_t columns, int pixel_bytes) {
    return work_alignment + kernels.plan_bytes(columns, pixel_bytes);
}

std::size_t work_bytes(const InterpolationKernels &kernels, std::size_t columns, int samples) {
    return RowWindow::work_bytes(kernels, columns, samples);
}

void resample_block(const NearestKernels &kernels, const DestinationBlock &destination,
                    const SourceBlock &source, int pixel_bytes, void *work) {
    void *plan = first_aligned(work);
    kernels.make_plan(plan, destination.columns, source.columns, pixel_bytes);

    const std::size_t row_bytes = destination.columns.count * std::size_t(pixel_bytes);
    const std::uint8_t *row_above = nullptr;
    int source_row_above = 0;
    for (std::size_t y = 0; y < destination.rows.count; ++y) {
        std::uint8_t *row = destination.pixels + y * destination.stride;
        const int source_row = source.rows.cut(destination.rows.index[y]);
        if (row_above != nullptr && source_row == source_row_above)
            std::memcpy(row, row_above, row_bytes);
        else
            kernels.across(row, plan, source.row(source_row));
        row_above = row;
        source_row_above = source_row;
    }
}

void resample_block(const InterpolationKernels &kernels, const DestinationBlock &destination,
                    const SourceBlock &source, int samples, void *work) {
    RowWindow window(kernels, work, destination.columns, source.columns, samples);
    const auto source_row = [&](int row) { return source.row(row); };
    window.make_rows(destination.pixels, destination.stride, destination.rows, source.rows,
                     source_row);
}

} // namespace q32::resample
