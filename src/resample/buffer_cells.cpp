// The cell path: walks the destination's cells and makes each where it lies, or in a block that is
// written to it. A cell of more than 128 x 128 pixels is taken in pieces: a linear buffer is a
// single cell.
#include "resample/buffer_paths.h"

#include "buffer/buffer_lock.h"
#include "buffer/cells.h"
#include "library/process/process.h"
#include "library/process/thread_priority.h"
#include "resample/cell_source.h"
#include "resample/kernels/row_resampler.h"
#include "resample/position_tables.h"

#include <algorithm>

namespace q32::resample {
namespace {

using buffer::BufferLock;
using buffer::record_of;

// --- pieces -------------------------------------------------------------------------------------

// Where the pixels of a piece are made.
struct Target {
    std::uint8_t *pixels;
    std::size_t stride; // bytes from row to row
};

// Makes pieces of the destination by one method.
class PieceMaker {
public:
    PieceMaker(const BufferJob &job, const CellTables &tables, const Method &method)
        : destination_(*record_of(job.destination)), tables_(tables),
          kernels_(method.chosen_kernels()), sites_(*method.cell_sites),
          pixel_bytes_(destination_.info.bytes_per_pixel),
          source_(*record_of(job.source), pixel_bytes_, method) {}

    // The piece lies in one cell. Reports and returns false when it fails.
    bool make(const Area &piece) {
        const Positions columns = tables_.columns().part(piece.left, piece.right);
        const Positions rows = tables_.rows().part(piece.top, piece.bottom);
        if (!source_.begin(columns, rows))
            return false;
        const Target in_cell = target_in_cell(piece);
        const bool is_staged = in_cell.pixels == nullptr;
        const std::size_t row_bytes = columns.count * std::size_t(pixel_bytes_);
        const std::size_t staged_bytes = is_staged ? row_bytes * rows.count : 0;
        std::uint8_t *const block = block_.of_bytes(
            staged_bytes + RowResampler::work_bytes(kernels_, columns.count, pixel_bytes_));
        if (block == nullptr)
            return fail(sites_.no_destination_block);
        RowResampler resampler(kernels_, block + staged_bytes, columns, source_.columns(),
                               pixel_bytes_);
        if (!is_staged)
            return fill(resampler, rows, in_cell);
        return fill(resampler, rows, {block, row_bytes}) && write(piece, block);
    }

private:
    // Null pixels: the piece has to be staged. Cells that are the buffer's own and nobody else's
    // are filled where they lie. What the callback has made something else of meanwhile, one colour
    // for instance, has entries of its own for taking pixels.
    Target target_in_cell(const Area &piece) {
        const buffer::PixelPlace place = buffer::place_of(destination_, piece.left, piece.top);
        std::byte *const cell = buffer::own_cell(destination_, place.cell);
        if (cell == nullptr)
            return {};
        return {reinterpret_cast<std::uint8_t *>(cell) + place.offset,
                std::size_t(buffer::describe_cell(destination_, place.cell).row_bytes)};
    }

    bool fill(RowResampler &resampler, const Positions &rows, const Target &target) {
        const auto fetch = [&](int row) { return source_.row(row); };
        return resampler.make_rows(target.pixels, target.stride, rows, source_.rows(), fetch);
    }

    // The buffer's own entry and not the export, which would raise the thread's priority each time.
    bool write(const Area &piece, const std::uint8_t *pixels) {
        return destination_.operations.merge_memory(destination_, piece.left, piece.top,
                                                    piece.width(), piece.height(), pixels) ||
               fail(sites_.not_written);
    }

    buffer::Record &destination_;
    const CellTables &tables_;
    const MethodKernels &kernels_;
    const site::CellSites &sites_;
    int pixel_bytes_;
    CellSource source_;
    ReusedBlock block_{GMEM_FIXED};
};

// --- cells --------------------------------------------------------------------------------------

// Where a cell lies is known from a lock that is given back at once.
bool find_cell(HBUF32 buffer, int index, Area *area) {
    BUF32CELL cell;
    if (!buf32CellLock(buffer, index, nullptr, &cell))
        return false;
    buf32CellUnlock(buffer, index);
    *area = area_of(cell.x, cell.y, cell.width, cell.height);
    return true;
}

// Calls make with the pieces of an area, left to right and top to bottom.
template <typename Make>
bool each_piece(const Area &area, const Make &make) {
    constexpr int side = buffer::largest_cell_side;
    for (int y = area.top; y < area.bottom; y += side)
        for (int x = area.left; x < area.right; x += side)
            if (!make(intersect(area_of(x, y, side, side), area)))
                return false;
    return true;
}

bool make_cells(const BufferJob &job, const CellTables &tables, const Method &method) {
    PieceMaker maker(job, tables, method);
    // The callback may change a linear buffer's height meanwhile.
    const Area with_positions = {0, 0, int(tables.columns().count), int(tables.rows().count)};
    const int count = record_of(job.destination)->info.cell_count;
    for (int index = 0; index < count; ++index) {
        if (!job.progress.report(job.progress.value_after(index, count)))
            return fail(method.cell_sites->cancelled);
        Area cell;
        if (!find_cell(job.destination, index, &cell))
            return false;
        if (!each_piece(intersect(cell, with_positions),
                        [&](const Area &piece) { return maker.make(piece); }))
            return false;
    }
    return true;
}

// --- buffers ------------------------------------------------------------------------------------

constexpr int grey_bits = 8, colour_bits = 24;

// The destination's depth is asked for twice. Required: a grey destination takes pixels of any
// depth, and receives the first byte of each.
bool takes_pixels(const BUF32INFO &destination, const BUF32INFO &source) {
    if (destination.bits_per_pixel != colour_bits && destination.bits_per_pixel != grey_bits)
        return false;
    return source.bits_per_pixel == colour_bits || destination.bits_per_pixel == grey_bits;
}

Size size_of(const BUF32INFO &info) {
    return {info.width, info.height};
}

bool resample_by(const BufferJob &job, const Method &method) {
    const site::CellSites &sites = *method.cell_sites;
    BUF32INFO destination, source;
    if (!buf32GetInfo(job.destination, &destination) || !buf32GetInfo(job.source, &source) ||
        !takes_pixels(destination, source))
        return fail(sites.format_refused);
    CellTables tables;
    if (!tables.make(size_of(source), size_of(destination), method))
        return fail(sites.no_tables);
    BufferLock destination_lock;
    if (!destination_lock.lock(job.destination, BUF32_OVERWRITE))
        return fail(sites.format_refused);
    return make_cells(job, tables, method);
}

} // namespace

bool resample_cells(const BufferJob &job, const Method &method) {
    const LibraryLock library_lock;
    if (!make_coefficients(method))
        return false;
    ThreadPriority priority;
    priority.raise();
    return resample_by(job, method_of_cells(method));
}

} // namespace q32::resample
