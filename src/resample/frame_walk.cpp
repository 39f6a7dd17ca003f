// Frames, row by row: work memory, the way of 5-5-5 pixels through 24 bits, and the kernels'
// calls. A source row is widened when it is read, not before: frames are streamed, and copies of
// whole frames would cost more than the resampling.
#include "resample/frame_walk.h"

#include "resample/failures.h"
#include "resample/kernels/row_window.h"
#include "resample/resample.h"
#include "rows/rows.h"

#include <windows.h>

#include <algorithm>

namespace q32::resample {
namespace {

constexpr std::size_t wide_pixel_bytes = 3;

// --- work memory --------------------------------------------------------------------------------

// No plan and its lines take as much for one column. Rows beyond what then fits into memory are
// not counted in bytes at all: that could overflow.
constexpr std::size_t most_bytes_per_column = 256;
constexpr std::size_t most_columns = MAXSIZE_T / most_bytes_per_column;

template <typename Kernels>
GlobalBlock allocate_work(const Kernels &kernels, std::size_t columns, int pixel_bytes,
                          std::size_t extra_bytes = 0) {
    if (columns > most_columns)
        return {};
    const std::size_t bytes = work_bytes(kernels, columns, pixel_bytes) + extra_bytes;
    return GlobalBlock(GlobalAlloc(GMEM_FIXED, bytes));
}

GlobalBlock allocate_wide_row(int columns) {
    if (std::size_t(columns) > MAXSIZE_T / wide_pixel_bytes)
        return {};
    return GlobalBlock(GlobalAlloc(GMEM_FIXED, std::size_t(columns) * wide_pixel_bytes));
}

// --- rows ---------------------------------------------------------------------------------------

std::uint8_t *row_of(const DestinationBlock &destination, std::size_t y) {
    return destination.pixels + y * destination.stride;
}

// What a trip through 24 bits does to pixels that stay as they are: bit 15 is lost.
void widen_and_narrow(const FrameWalk &walk) {
    const std::size_t columns = walk.destination.columns.count;
    std::uint8_t *const wide = walk.wide_rows->destination();
    for (std::size_t y = 0; y < walk.destination.rows.count; ++y) {
        std::uint8_t *const row = row_of(walk.destination, y);
        rows::kernels().rgb555_to_888(wide, row, columns);
        rows::kernels().rgb888_to_555(row, wide, columns);
    }
}

void interpolate_rows(const FrameWalk &walk, RowWindow &window, int fraction_shift) {
    const SourceBlock &source = walk.source;
    const DestinationBlock &destination = walk.destination;
    const WideRows *const wide = walk.wide_rows;

    const auto source_row = [&](int row) -> const std::uint8_t * {
        if (wide == nullptr)
            return source.row(row);
        rows::kernels().rgb555_to_888(wide->source(), source.row(row),
                                      std::size_t(source.columns.count));
        return wide->source();
    };
    if (wide == nullptr && fraction_shift == 0) {
        window.make_rows(destination.pixels, destination.stride, destination.rows, source.rows,
                         source_row);
        return;
    }
    for (std::size_t y = 0; y < destination.rows.count; ++y) {
        std::uint8_t *const stored = row_of(destination, y);
        std::uint8_t *const computed = wide == nullptr ? stored : wide->destination();
        window.make_row(computed, destination.rows.index[y],
                        destination.rows.fraction[y] >> fraction_shift, source.rows, source_row);
        if (wide != nullptr)
            rows::kernels().rgb888_to_555(stored, computed, destination.columns.count);
    }
}

int interpolate(const FrameWalk &walk, const InterpolationKernels &kernels, int fraction_shift) {
    const int samples = walk.wide_rows != nullptr ? int(wide_pixel_bytes) : walk.pixel_bytes;
    Positions columns = walk.destination.columns;
    // The shifted fractions lie before the kernels' memory.
    const std::size_t fraction_bytes =
        fraction_shift != 0 ? columns.count * sizeof(*columns.fraction) : 0;
    const GlobalBlock block = allocate_work(kernels, columns.count, samples, fraction_bytes);
    if (!block)
        return fail(site::no_work_rows);
    auto *const memory = static_cast<std::byte *>(block.get());
    if (fraction_shift != 0) {
        auto *const shifted = reinterpret_cast<std::int32_t *>(memory);
        std::transform(columns.fraction, columns.fraction + columns.count, shifted,
                       [&](std::int32_t fraction) { return fraction >> fraction_shift; });
        columns.fraction = shifted;
    }
    RowWindow window(kernels, memory + fraction_bytes, columns, walk.source.columns, samples);
    interpolate_rows(walk, window, fraction_shift);
    return 1;
}

} // namespace

bool WideRows::allocate(int source_columns, int destination_columns) {
    source_ = allocate_wide_row(source_columns);
    if (!source_)
        return false;
    destination_ = allocate_wide_row(destination_columns);
    return bool(destination_);
}

int take_nearest(const FrameWalk &walk) {
    const NearestKernels &nearest = kernels().nearest;
    const GlobalBlock work =
        allocate_work(nearest, walk.destination.columns.count, walk.pixel_bytes);
    if (!work)
        return fail(site::no_work_rows);
    resample_block(nearest, walk.destination, walk.source, walk.pixel_bytes, work.get());
    if (walk.wide_rows != nullptr)
        widen_and_narrow(walk);
    return 1;
}

int interpolate_bilinear(const FrameWalk &walk) {
    return interpolate(walk, kernels().bilinear, 0);
}

int interpolate_bicubic(const FrameWalk &walk, int fraction_shift) {
    return interpolate(walk, kernels().bicubic, fraction_shift);
}

} // namespace q32::resample
