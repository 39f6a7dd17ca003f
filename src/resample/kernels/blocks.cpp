// Blocks, row by row.
#include "resample/kernels/blocks.h"

#include "resample/kernels/row_repeater.h"
#include "resample/kernels/row_window.h"

namespace q32::resample {
namespace {

// Walk: what goes with the kernels.
template <typename Walk, typename Kernels>
void resample_by(const Kernels &kernels, const DestinationBlock &destination,
                 const SourceBlock &source, int samples, void *work) {
    Walk walk(kernels, work, destination.columns, source.columns, samples);
    walk.make_rows(destination.pixels, destination.stride, destination.rows, source.rows,
                   [&](int row) { return source.row(row); });
}

} // namespace

std::size_t work_bytes(const NearestKernels &kernels, std::size_t columns, int pixel_bytes) {
    return RowRepeater::work_bytes(kernels, columns, pixel_bytes);
}

std::size_t work_bytes(const InterpolationKernels &kernels, std::size_t columns, int samples) {
    return RowWindow::work_bytes(kernels, columns, samples);
}

void resample_block(const NearestKernels &kernels, const DestinationBlock &destination,
                    const SourceBlock &source, int pixel_bytes, void *work) {
    resample_by<RowRepeater>(kernels, destination, source, pixel_bytes, work);
}

void resample_block(const InterpolationKernels &kernels, const DestinationBlock &destination,
                    const SourceBlock &source, int samples, void *work) {
    resample_by<RowWindow>(kernels, destination, source, samples, work);
}

} // namespace q32::resample
