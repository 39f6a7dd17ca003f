// The row path: each destination row is made of source rows that buf32Line reads, and written by
// buf32Line. 5-5-5 pixels are interpolated as 24-bit ones.
#include "resample/buffer_paths.h"

#include "buffer/buffer_lock.h"
#include "library/process/owners.h"
#include "library/process/process.h"
#include "resample/kernels/row_resampler.h"
#include "resample/position_tables.h"
#include "resample/written_rows.h"
#include "rows/rows.h"

#include <algorithm>

namespace q32::resample {
namespace {

using buffer::BufferLock;

constexpr RowStops stops = {site::rows_escaped, site::rows_refused};

constexpr int wide_pixel_bytes = 3; // of what 5-5-5 pixels are widened to

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

// --- destination rows ----------------------------------------------------------------------------

// Work memory in one block.
struct WorkRows {
    GlobalBlock block;
    std::uint8_t *window = nullptr;
    std::uint8_t *wide_source = nullptr; // like the next, only of pixels that go through 24 bits
    std::uint8_t *wide = nullptr;
    std::uint8_t *row = nullptr; // as it is written

    bool allocate(std::size_t window_bytes, std::size_t wide_source_bytes, std::size_t wide_bytes,
                  std::size_t row_bytes) {
        window = global_alloc<std::uint8_t>(GMEM_ZEROINIT, window_bytes + wide_source_bytes +
                                                               wide_bytes + row_bytes);
        block.reset(window);
        if (window == nullptr)
            return false;
        wide_source = window + window_bytes;
        wide = wide_source + wide_source_bytes;
        row = wide + wide_bytes;
        return true;
    }
};

bool make_rows(const BufferJob &job, const PositionTables &tables, const StoredRow &stored_row,
               const Method &method) {
    // As they are now: the callback may change the source.
    const Span source_columns = {0, job.source_info().width};
    const Span source_rows = {0, job.source_info().height};
    const int stored_bytes = job.source_info().bytes_per_pixel;
    const bool is_wide = method.through_24_bits;
    const int pixel_bytes = is_wide ? wide_pixel_bytes : stored_bytes;

    const Positions columns = tables.columns(), rows = tables.rows();
    // A destination of another depth is written from its row too.
    const std::size_t row_bytes =
        std::max(columns.count * std::size_t(stored_bytes), stored_row_bytes(job.destination));
    WorkRows work;
    if (!work.allocate(
            RowResampler::work_bytes(method.chosen_kernels(), columns.count, pixel_bytes),
            is_wide ? std::size_t(source_columns.count) * wide_pixel_bytes : 0,
            is_wide ? columns.count * wide_pixel_bytes : 0, row_bytes))
        return fail(site::no_work_rows);

    RowResampler resampler(method.chosen_kernels(), work.window, columns, source_columns,
                           pixel_bytes);
    const auto fetch = [&](int source_row) -> const std::uint8_t * {
        const std::uint8_t *const stored = stored_row.read(source_row);
        if (stored == nullptr || !is_wide)
            return stored;
        rows::kernels().rgb555_to_888(work.wide_source, stored, std::size_t(source_columns.count));
        return work.wide_source;
    };
    return write_rows(job, int(rows.count), stops, BUF32_LINE_WRITE, work.row, [&](int y) {
        if (!resampler.make_row(is_wide ? work.wide : work.row, rows.index[y], rows.fraction[y],
                                source_rows, fetch))
            return false;
        if (is_wide)
            rows::kernels().rgb888_to_555(work.row, work.wide, columns.count);
        return true;
    });
}

} // namespace

bool resample_rows(const BufferJob &job, const Method &method) {
    const LibraryLock library_lock;
    BufferLock destination_lock; // given back after the tables
    PositionTables tables;
    if (!tables.make(job.source, job.destination, method.fractions) ||
        !destination_lock.lock(job.destination, BUF32_WRITE))
        return false;
    StoredRow stored_row(job.source);
    return stored_row.allocate() && make_coefficients(method) &&
           make_rows(job, tables, stored_row, method);
}

} // namespace q32::resample
