// A block of source pixels resampled into a block of destination pixels, by any method: the walk
// over rows of plain memory.
#pragma once

#include "resample/kernels/resample_kernels.h"

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
};

// Bytes of work memory that a block of so many columns needs, wherever it begins.
std::size_t work_bytes(const NearestKernels &kernels, std::size_t columns, int pixel_bytes);
std::size_t work_bytes(const InterpolationKernels &kernels, std::size_t columns, int samples);

void resample_block(const NearestKernels &kernels, const DestinationBlock &destination,
                    const SourceBlock &source, int pixel_bytes, void *work);
void resample_block(const InterpolationKernels &kernels, const DestinationBlock &destination,
                    const SourceBlock &source, int samples, void *work);

} // namespace q32::resample
