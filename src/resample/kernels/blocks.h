// A block of source pixels resampled into a block of destination pixels: rows of plain memory.
#pragma once

#include "resample/kernels/row_resampler.h"

namespace q32::resample {

struct SourceBlock {
    const std::uint8_t *pixels;
    std::size_t stride; // bytes from row to row
    Extent columns;
    Extent rows;

    // The pixels of a row of the image, from the first column at hand on.
    const std::uint8_t *row(int row_of_image) const {
        return pixels + std::size_t(row_of_image - rows.first) * stride;
    }
};

struct DestinationBlock {
    std::uint8_t *pixels;
    std::size_t stride;
    Positions columns;
    Positions rows;

    std::uint8_t *row(std::size_t y) const { return pixels + y * stride; }
};

// work: RowWindow::work_bytes of the destination's columns.
inline void resample_block(const MethodKernels &kernels, const DestinationBlock &destination,
                           const SourceBlock &source, int samples, void *work) {
    RowWindow window(kernels, work, destination.columns, source.columns, samples);
    window.make_rows(destination.pixels, destination.stride, destination.rows, source.rows,
                     [&](int row) { return source.row(row); });
}

} // namespace q32::resample
