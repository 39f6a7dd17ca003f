// The row path: each destination row is made of source rows that buf32Line reads, and written by
// buf32Line. 5-5-5 pixels are interpolated as 24-bit ones.
#include "resample/rows.h"

#include "buffer/buffer_lock.h"
#include "library/process/owners.h"
#include "library/process/process.h"
#include "resample/coefficient_table.h"
#include "resample/failures.h"
#include "resample/kernels/row_repeater.h"
#include "resample/kernels/row_window.h"
#include "resample/resample.h"
#include "resample/row_walk.h"
#include "rows/rows.h"

#include <algorithm>

namespace q32::resample {
namespace {

using buffer::BufferLock;

constexpr RowStops stops = {site::rows_escaped, site::rows_refused};

constexpr int samples = 3; // of what 5-5-5 pixels are widened to

// --- source rows ---------------------------------------------------------------------------------

// A row of the source as stored.
class StoredRow {
public:
    explicit StoredRow(HBUF32 source) : source_(source) {}

    bool allocate() {
        constexpr int rows = 2; // kind of block
        void *memory = nullptr;
        if (!buf32GetMemSpace(source_, rows, 1, 0, &memory, nullptr))
            return false;
        memory_.reset(memory);
        return true;
    }

    // Null when the row cannot be read.
    const std::uint8_t *read(int row) const {
        return buf32Line(source_, row, BUF32_LINE_READ, memory_.get())
                   ? static_cast<const std::uint8_t *>(memory_.get())
                   : nullptr;
    }

private:
    HBUF32 source_;
    GlobalBlock memory_;
};

// --- rows of each method -------------------------------------------------------------------------

// Whole rows of source and destination, and where they lie to each other.
struct Rows {
    const BufferJob &job;
    const PositionTables &tables;
    const StoredRow &stored_row;
    Extent source_columns, source_rows;
    int pixel_bytes;

    std::size_t width() const { return tables.columns().count; }
    int height() const { return int(tables.rows().count); }

    // Bytes of a row that holds what is made and that a destination of another depth can be written
    // from.
    std::size_t row_bytes() const {
        return std::max(width() * std::size_t(pixel_bytes), stored_row_bytes(job.destination));
    }
};

bool resample_nearest(const Rows &rows) {
    const NearestKernels &nearest = kernels().nearest;
    const std::size_t work_bytes = RowRepeater::work_bytes(nearest, rows.width(), rows.pixel_bytes);
    auto *const work = global_alloc<std::uint8_t>(GMEM_ZEROINIT, work_bytes + rows.row_bytes());
    const GlobalBlock owned(work);
    if (work == nullptr)
        return fail(site::no_work_rows);

    std::uint8_t *const row = work + work_bytes;
    const std::int32_t *const row_index = rows.tables.rows().index;
    RowRepeater window(nearest, work, rows.tables.columns(), rows.source_columns, rows.pixel_bytes);
    const auto fetch = [&](int source_row) { return rows.stored_row.read(source_row); };
    return write_rows(rows.job, rows.height(), stops, BUF32_LINE_WRITE, row, [&](int y) {
        return window.make_row(row, row_index[y], 0, rows.source_rows, fetch);
    });
}

bool interpolate(const Rows &rows, const InterpolationKernels &interpolation) {
    const std::size_t work_bytes = RowWindow::work_bytes(interpolation, rows.width(), samples);
    const std::size_t wide_source_bytes = std::size_t(rows.source_columns.count) * samples;
    const std::size_t wide_bytes = rows.width() * samples;
    auto *const work = global_alloc<std::uint8_t>(GMEM_ZEROINIT, work_bytes + wide_source_bytes +
                                                                     wide_bytes + rows.row_bytes());
    const GlobalBlock owned(work);
    if (work == nullptr)
        return fail(site::no_work_rows);

    std::uint8_t *const wide_source = work + work_bytes;
    std::uint8_t *const wide = wide_source + wide_source_bytes;
    std::uint8_t *const row = wide + wide_bytes;
    const Positions positions = rows.tables.rows();
    RowWindow window(interpolation, work, rows.tables.columns(), rows.source_columns, samples);
    const auto fetch = [&](int source_row) -> const std::uint8_t * {
        const std::uint8_t *const stored = rows.stored_row.read(source_row);
        if (stored == nullptr)
            return nullptr;
        rows::kernels().rgb555_to_888(wide_source, stored, std::size_t(rows.source_columns.count));
        return wide_source;
    };
    return write_rows(rows.job, rows.height(), stops, BUF32_LINE_WRITE, row, [&](int y) {
        if (!window.make_row(wide, positions.index[y], positions.fraction[y], rows.source_rows,
                             fetch))
            return false;
        rows::kernels().rgb888_to_555(row, wide, rows.width());
        return true;
    });
}

// Of what all methods but nearest neighbour and bilinear read. 16-bit fractions shifted right by 8
// are the same.
constexpr int eight_bit_fractions = 1;

int fraction_mode_of(int method) {
    return method == RESAMPLE_NEAREST || method == RESAMPLE_BILINEAR ? 0 : eight_bit_fractions;
}

} // namespace

bool resample_rows(const BufferJob &job, int method) {
    const LibraryLock library_lock;
    BufferLock destination_lock; // given back after the tables
    PositionTables tables;
    if (!make_tables(job, fraction_mode_of(method), &tables) ||
        !destination_lock.lock(job.destination, BUF32_WRITE))
        return false;
    StoredRow stored_row(job.source);
    if (!stored_row.allocate())
        return false;
    if (method == RESAMPLE_BICUBIC && !make_coefficient_table())
        return fail(site::no_coefficients);

    const BUF32INFO &source = job.source_info();
    const Rows rows = {
        job, tables, stored_row, {0, source.width}, {0, source.height}, source.bytes_per_pixel};
    switch (method) {
    case RESAMPLE_NEAREST:
        return resample_nearest(rows);
    case RESAMPLE_BILINEAR:
        return interpolate(rows, kernels().bilinear);
    default:
        return interpolate(rows, kernels().bicubic);
    }
}

} // namespace q32::resample
