// Frames, row by row: work memory, the way of 5-5-5 pixels through 24 bits, and the kernels'
// calls. A source row is widened when it is read, not before: frames are streamed, and copies of
// whole frames would cost more than the resampling.
#include "resample/frame_rows.h"

#include "resample/kernels/row_resampler.h"
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

GlobalBlock allocate_work(const MethodKernels &kernels, std::size_t columns, int samples,
                          std::size_t extra_bytes) {
    if (columns > most_columns)
        return {};
    return GlobalBlock(
        GlobalAlloc(GMEM_FIXED, RowResampler::work_bytes(kernels, columns, samples) + extra_bytes));
}

GlobalBlock allocate_wide_row(int columns) {
    if (std::size_t(columns) > MAXSIZE_T / wide_pixel_bytes)
        return {};
    return GlobalBlock(GlobalAlloc(GMEM_FIXED, std::size_t(columns) * wide_pixel_bytes));
}

// --- rows ---------------------------------------------------------------------------------------

// How far the kernels read fractions of tables shifted to the right.
int fraction_shift(const Method &method) {
    const bool too_long =
        method.frame_fractions == FractionBits::sixteen && method.fractions == FractionBits::eight;
    return too_long ? 8 : 0;
}

// What a trip through 24 bits does to pixels that stay as they are: bit 15 is lost.
void widen_and_narrow(const Frame &frame) {
    const std::size_t columns = frame.destination.columns.count;
    std::uint8_t *const wide = frame.wide_rows->destination();
    for (std::size_t y = 0; y < frame.destination.rows.count; ++y) {
        rows::kernels().rgb555_to_888(wide, frame.destination.row(y), columns);
        rows::kernels().rgb888_to_555(frame.destination.row(y), wide, columns);
    }
}

// Row by row: through 24 bits, or with fractions that have to be shifted.
void make_rows(const Frame &frame, RowResampler &resampler, int shift) {
    const SourceImage &source = frame.source;
    const DestinationImage &destination = frame.destination;
    const WideRows *const wide = frame.wide_rows;

    const auto source_row = [&](int row) -> const std::uint8_t * {
        if (wide == nullptr)
            return source.row(row);
        rows::kernels().rgb555_to_888(wide->source(), source.row(row),
                                      std::size_t(source.columns.count));
        return wide->source();
    };
    for (std::size_t y = 0; y < destination.rows.count; ++y) {
        std::uint8_t *const stored = destination.row(y);
        std::uint8_t *const computed = wide == nullptr ? stored : wide->destination();
        resampler.make_row(computed, destination.rows.index[y],
                           destination.rows.fraction[y] >> shift, source.rows, source_row);
        if (wide != nullptr)
            rows::kernels().rgb888_to_555(stored, computed, destination.columns.count);
    }
}

} // namespace

bool WideRows::allocate(int source_columns, int destination_columns) {
    source_ = allocate_wide_row(source_columns);
    if (!source_)
        return false;
    destination_ = allocate_wide_row(destination_columns);
    return bool(destination_);
}

int resample_frame_rows(const Frame &frame, const Method &method) {
    const MethodKernels &kernels = method.chosen_kernels();
    const bool is_wide = frame.wide_rows != nullptr && method.through_24_bits;
    const int samples = is_wide ? int(wide_pixel_bytes) : frame.pixel_bytes;
    const int shift = fraction_shift(method);
    DestinationImage destination = frame.destination;
    Positions &columns = destination.columns;

    // The shifted fractions lie before the kernels' memory.
    const std::size_t fraction_bytes = shift != 0 ? columns.count * sizeof(*columns.fraction) : 0;
    const GlobalBlock block = allocate_work(kernels, columns.count, samples, fraction_bytes);
    if (!block)
        return fail(site::no_work_rows);
    auto *const memory = static_cast<std::byte *>(block.get());
    if (shift != 0) {
        auto *const shifted = reinterpret_cast<std::int32_t *>(memory);
        std::transform(columns.fraction, columns.fraction + columns.count, shifted,
                       [&](std::int32_t fraction) { return fraction >> shift; });
        columns.fraction = shifted;
    }
    void *const work = memory + fraction_bytes;
    if (!is_wide && shift == 0) {
        resample_image(kernels, destination, frame.source, samples, work);
        if (frame.wide_rows != nullptr)
            widen_and_narrow(frame);
        return 1;
    }
    RowResampler resampler(kernels, work, columns, frame.source.columns, samples);
    make_rows(frame, resampler, shift);
    return 1;
}

} // namespace q32::resample
