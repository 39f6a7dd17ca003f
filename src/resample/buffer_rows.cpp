// Buffers row by row: each destination row is made of source rows that buf32Line reads, and written
// by buf32Line. 5-5-5 pixels are interpolated as 24-bit ones; pixels under 8 bits are spread to one
// byte each, resampled like any others, and packed to bits by buf32Line.
#include "resample/buffer_paths.h"

#include "buffer/buffer_lock.h"
#include "library/process/owners.h"
#include "library/process/process.h"
#include "resample/position_tables.h"
#include "resample/wide_rows.h"

#include <q32comm.h>

#include <algorithm>
#include <utility>

namespace q32::resample {
namespace {

// --- what both kinds of rows have in common -----------------------------------------------------

// How rows can be stopped.
struct RowStops {
    FailureSite escaped;
    FailureSite refused;
};

// Bytes of a row as buf32Line moves it.
std::size_t stored_row_bytes(HBUF32 buffer) {
    const BUF32INFO &info = buffer::record_of(buffer)->info;
    return buffer::packed_bytes(info.width, info.bits_per_pixel);
}

// Work memory in one block, handed out from its beginning on.
class WorkMemory {
public:
    bool allocate(std::size_t bytes) {
        next_ = global_alloc<std::uint8_t>(GMEM_ZEROINIT, bytes);
        block_.reset(next_);
        return next_ != nullptr;
    }

    std::uint8_t *take(std::size_t bytes) { return std::exchange(next_, next_ + bytes); }

private:
    GlobalBlock block_;
    std::uint8_t *next_ = nullptr;
};

// Calls resample with the tables between two buffers, the destination locked.
template <typename Resample>
bool under_lock(const BufferJob &job, FractionBits fractions, const Resample &resample) {
    const LibraryLock library_lock;
    buffer::BufferLock destination_lock; // given back after the tables
    PositionTables tables;
    return tables.make(job.source, job.destination, fractions) &&
           destination_lock.lock(job.destination, BUF32_WRITE) && resample(tables);
}

bool send_progress(const Progress &progress, std::int32_t value, const RowStops &stops) {
    if (progress.polls_esc() && q32IsEscPressed())
        return fail(stops.escaped);
    return progress.report(value) || fail(stops.refused);
}

// Has each row made in the given memory, and writes it into the destination in a mode of buf32Line.
// Before each row whose value has not been sent yet there is a message, the Esc key first. The
// start value has gone out with the message that began it all.
template <typename MakeRow>
bool write_rows(const BufferJob &job, int rows, const RowStops &stops, int line_mode,
                std::uint8_t *row, const MakeRow &make_row) {
    std::int32_t last_sent = job.progress.start();
    for (int y = 0; y < rows; ++y) {
        const std::int32_t value = job.progress.value_after(y, rows);
        if (job.progress.is_watched() && value != std::exchange(last_sent, value) &&
            !send_progress(job.progress, value, stops))
            return false;
        if (!make_row(y) || !buf32Line(job.destination, y, line_mode, row))
            return false;
    }
    return true;
}

// --- rows of whole bytes ------------------------------------------------------------------------

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

bool make_rows(const BufferJob &job, const PositionTables &tables, const StoredRow &stored_row,
               const Method &method) {
    // As they are now: the callback may change the source.
    const Span source_columns = {0, job.source_info().width};
    const Span source_rows = {0, job.source_info().height};
    const int stored_bytes = job.source_info().bytes_per_pixel;
    const bool is_wide = method.through_24_bits;
    const int pixel_bytes = is_wide ? wide_pixel_bytes : stored_bytes;
    const MethodKernels &kernels = method.chosen_kernels();
    const Positions columns = tables.columns(), rows = tables.rows();

    const std::size_t work_bytes = RowResampler::work_bytes(kernels, columns.count, pixel_bytes);
    const std::size_t wide_bytes = is_wide ? wide_pixel_bytes : 0;
    const std::size_t wide_source_bytes = std::size_t(source_columns.count) * wide_bytes;
    const std::size_t wide_row_bytes = columns.count * wide_bytes;
    // A destination of another depth is written from its row too.
    const std::size_t row_bytes =
        std::max(columns.count * std::size_t(stored_bytes), stored_row_bytes(job.destination));
    WorkMemory memory;
    if (!memory.allocate(work_bytes + wide_source_bytes + wide_row_bytes + row_bytes))
        return fail(site::no_work_rows);

    RowResampler resampler(kernels, memory.take(work_bytes), columns, source_columns, pixel_bytes);
    const WideRows wide = {memory.take(wide_source_bytes), memory.take(wide_row_bytes),
                           std::size_t(source_columns.count), columns.count};
    std::uint8_t *const row = memory.take(row_bytes);
    const auto fetch = [&](int y) { return stored_row.read(y); };
    constexpr RowStops stops = {site::rows_escaped, site::rows_refused};
    return write_rows(job, int(rows.count), stops, BUF32_LINE_WRITE, row, [&](int y) {
        const std::int32_t index = rows.index[y], fraction = rows.fraction[y];
        return is_wide ? wide.make_row(resampler, row, index, fraction, source_rows, fetch)
                       : resampler.make_row(row, index, fraction, source_rows, fetch);
    });
}

// --- rows of bits -------------------------------------------------------------------------------

// The source pixel at the index, or the next one from half of the way on; the last has no next.
int nearest_to(const Positions &positions, std::size_t i, int source) {
    constexpr std::int32_t half = 32768;
    return std::min(positions.index[i] + (positions.fraction[i] >= half ? 1 : 0), source - 1);
}

// A byte for each pixel: whether the bit (column modulo 8) of the byte that holds the pixel is set,
// the highest being bit 0.
void spread(std::uint8_t *bytes, const std::uint8_t *stored, const BUF32INFO &info) {
    constexpr std::uint8_t set = 255; // what a set bit becomes
    const auto width = std::size_t(info.width);
    if (info.bits_per_pixel == 1)
        return rows::kernels().bit_to_byte(bytes, stored, width, set);
    // Above 1 bit that is some bit of the pixel's or of a neighbour's. Required: programs see
    // buffers of 2 and 4 bits treated as if they had 1.
    for (std::size_t x = 0; x < width; ++x) {
        const std::uint8_t holding = stored[std::size_t(info.bits_per_pixel) * x / 8];
        bytes[x] = (holding & (0x80 >> x % 8)) != 0 ? set : 0;
    }
}

bool make_bit_rows(const BufferJob &job, const PositionTables &tables) {
    const MethodKernels &nearest = *kernels().nearest;
    const BUF32INFO &source = job.source_info();
    const Positions columns = tables.columns(), rows = tables.rows();

    const std::size_t index_bytes = columns.count * sizeof(std::int32_t);
    const std::size_t work_bytes = RowResampler::work_bytes(nearest, columns.count, 1);
    const std::size_t stored_bytes = stored_row_bytes(job.source);
    const auto spread_bytes = std::size_t(source.width);
    WorkMemory memory;
    if (!memory.allocate(index_bytes + work_bytes + stored_bytes + spread_bytes + columns.count))
        return fail(site::no_work_rows);

    auto *const index = reinterpret_cast<std::int32_t *>(memory.take(index_bytes));
    for (std::size_t x = 0; x < columns.count; ++x)
        index[x] = nearest_to(columns, x, source.width);
    RowResampler resampler(nearest, memory.take(work_bytes), {index, nullptr, columns.count},
                           {0, source.width}, 1);
    std::uint8_t *const stored = memory.take(stored_bytes);
    std::uint8_t *const spread_row = memory.take(spread_bytes);
    std::uint8_t *const row = memory.take(columns.count);
    const auto fetch = [&](int y) -> const std::uint8_t * {
        if (!buf32Line(job.source, y, BUF32_LINE_READ, stored))
            return nullptr;
        spread(spread_row, stored, source);
        return spread_row;
    };
    constexpr RowStops stops = {site::bit_rows_escaped, site::bit_rows_refused};
    return write_rows(job, int(rows.count), stops, BUF32_LINE_WRITE_BITS, row, [&](int y) {
        return resampler.make_row(row, nearest_to(rows, std::size_t(y), source.height), 0,
                                  {0, source.height}, fetch);
    });
}

} // namespace

bool resample_rows(const BufferJob &job, const Method &method) {
    return under_lock(job, method.fractions, [&](const PositionTables &tables) {
        StoredRow stored_row(job.source);
        return stored_row.allocate() && make_coefficients(method) &&
               make_rows(job, tables, stored_row, method);
    });
}

bool resample_bit_rows(const BufferJob &job) {
    return under_lock(job, FractionBits::sixteen,
                      [&](const PositionTables &tables) { return make_bit_rows(job, tables); });
}

} // namespace q32::resample
