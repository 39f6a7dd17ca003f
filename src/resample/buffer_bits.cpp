// The row path of pixels under 8 bits: a source row is spread to one byte per pixel, resampled like
// any other, and packed to bits by buf32Line.
#include "resample/buffer_paths.h"

#include "buffer/buffer_lock.h"
#include "library/process/owners.h"
#include "library/process/process.h"
#include "resample/kernels/row_resampler.h"
#include "resample/position_tables.h"
#include "resample/written_rows.h"
#include "rows/rows.h"

namespace q32::resample {
namespace {

using buffer::BufferLock;

constexpr RowStops stops = {site::bit_rows_escaped, site::bit_rows_refused};

constexpr std::uint8_t set = 255; // what a set bit becomes

// The source pixel at the index, or the next one from half of the way on; the last has no next.
int nearest_to(const Positions &positions, std::size_t i, int source) {
    constexpr std::int32_t half = 32768;
    return std::min(positions.index[i] + (positions.fraction[i] >= half ? 1 : 0), source - 1);
}

// A byte for each pixel: whether the bit (column modulo 8) of the byte that holds the pixel is set,
// the highest being bit 0.
void spread(std::uint8_t *bytes, const std::uint8_t *stored, const BUF32INFO &info) {
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

// Work rows in one block: a source row as stored and spread, a destination row, and which source
// pixel each of its pixels is.
class BitRows {
public:
    BitRows(const BufferJob &job, const PositionTables &tables)
        : job_(job), tables_(tables), stored_bytes_(stored_row_bytes(job.source)) {}

    bool allocate() {
        const std::size_t index_bytes = width() * sizeof(std::int32_t);
        const std::size_t plan_bytes = RowResampler::work_bytes(*kernels().nearest, width(), 1);
        auto *at = global_alloc<std::uint8_t>(
            GMEM_ZEROINIT, index_bytes + plan_bytes + stored_bytes_ + source_width() + width());
        block_.reset(at);
        if (at == nullptr)
            return false;
        index_ = reinterpret_cast<std::int32_t *>(at);
        plan_ = at += index_bytes;
        stored_ = at += plan_bytes;
        spread_ = at += stored_bytes_;
        row_ = at + source_width();
        return true;
    }

    bool resample() const {
        const BUF32INFO &source = job_.source_info();
        const Positions columns = tables_.columns(), rows = tables_.rows();
        for (std::size_t x = 0; x < width(); ++x)
            index_[x] = nearest_to(columns, x, source.width);
        RowResampler resampler(*kernels().nearest, plan_, {index_, nullptr, width()},
                               {0, source.width}, 1);
        const auto fetch = [&](int row) { return read(row); };
        return write_rows(job_, int(rows.count), stops, BUF32_LINE_WRITE_BITS, row_, [&](int y) {
            return resampler.make_row(row_, nearest_to(rows, std::size_t(y), source.height), 0,
                                      {0, source.height}, fetch);
        });
    }

private:
    std::size_t width() const { return tables_.columns().count; }
    std::size_t source_width() const { return std::size_t(job_.source_info().width); }

    // Null when the row cannot be read.
    const std::uint8_t *read(int row) const {
        if (!buf32Line(job_.source, row, BUF32_LINE_READ, stored_))
            return nullptr;
        spread(spread_, stored_, job_.source_info());
        return spread_;
    }

    const BufferJob &job_;
    const PositionTables &tables_;
    std::size_t stored_bytes_;
    GlobalBlock block_;
    std::int32_t *index_ = nullptr;
    std::uint8_t *plan_ = nullptr, *stored_ = nullptr, *spread_ = nullptr, *row_ = nullptr;
};

} // namespace

bool resample_bit_rows(const BufferJob &job) {
    const LibraryLock library_lock;
    BufferLock destination_lock; // given back after the tables
    PositionTables tables;
    if (!tables.make(job.source, job.destination, FractionBits::sixteen) ||
        !destination_lock.lock(job.destination, BUF32_WRITE))
        return false;
    BitRows rows(job, tables);
    if (!rows.allocate())
        return fail(site::no_work_rows);
    return rows.resample();
}

} // namespace q32::resample
