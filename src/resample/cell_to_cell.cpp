// The destination is made in blocks, each of which lies in one cell. Blocks beside each other are
// made of the same source rows, and blocks below each other of the same columns: where the rows lie
// is found once for the ones, and the kernels' plans are made once for the others.
#include "resample/cell_to_cell.h"

#include "buffer/cells.h"
#include "buffer/entries.h"
#include "buffer/types.h"
#include "library/process/owners.h"

#include <algorithm>

namespace q32::resample {
namespace {

using buffer::record_of;

constexpr int block_side = buffer::largest_cell_side;

// --- the source ---------------------------------------------------------------------------------

// The cells of a source. Those of its last column may be narrower than the others, and their rows
// closer together: they are a part of their own then.
class SourceCells {
public:
    static constexpr int parts = 2;

    SourceCells(const buffer::Record &owner, std::byte *const *cells)
        : info_(owner.info),
          cells_(cells), row_bytes_{owner.cell_row_bytes, owner.last_column_row_bytes},
          first_cell_{0, info_.cell_columns - 1} {}

    int cut(int row) const { return std::clamp(row, 0, info_.height - 1); }

    // The first pixel behind a part.
    int end_of_part(int part) const {
        return part == 0 && row_bytes_[0] != row_bytes_[1] ? first_cell_[1] * info_.cell_width
                                                           : info_.width;
    }
    int first_pixel(int part) const { return part == 0 ? 0 : end_of_part(0); }
    // Behind the last row of a part's cells there may be no memory.
    int cell_width(int part) const {
        return part == 0 ? info_.cell_width : info_.last_column_width;
    }

    // The cells of the band with a row: all of its rows lie alike.
    struct Band {
        int begin, end; // rows
        const std::uint8_t *first_cell[parts];
        std::size_t cell_stride;
    };
    Band band_of(int row) const {
        const int band = row / info_.cell_height;
        std::byte *const *const cells =
            cells_ + std::size_t(band) * std::size_t(info_.cell_columns);
        const auto first_of = [&](int part) {
            return reinterpret_cast<const std::uint8_t *>(cells[first_cell_[part]]);
        };
        return {band * info_.cell_height,
                (band + 1) * info_.cell_height,
                {first_of(0), first_of(1)},
                info_.cell_columns > 1 ? std::size_t(cells[1] - cells[0]) : 0};
    }
    std::size_t row_bytes(int part) const { return row_bytes_[part]; }

private:
    const BUF32INFO &info_;
    std::byte *const *cells_;
    std::size_t row_bytes_[parts];
    int first_cell_[parts];
};

// --- rows ---------------------------------------------------------------------------------------

// The source rows of blocks beside each other. The cells of the last band may be lower than the
// others, and closer together.
struct BlockRows {
    AlikeRows alike[SourceCells::parts][block_side];
    struct Bands {
        std::size_t rows; // of the destination
        std::size_t alike;
        std::size_t cell_stride;
    } bands[2];

    void find(const SourceCells &source, const Positions &rows) {
        SourceCells::Band band = {};
        bands[0] = bands[1] = {};
        Bands *here = bands;
        std::size_t count = 0;
        for (std::size_t y = 0, next; y < rows.count; y = next, ++count) {
            const int row = source.cut(rows.index[y]);
            for (next = y + 1; next < rows.count && rows.index[next] == rows.index[y];)
                ++next;
            if (row >= band.end) {
                band = source.band_of(row);
                here = count == 0 || band.cell_stride == bands[0].cell_stride ? bands : bands + 1;
                here->cell_stride = band.cell_stride;
            }
            here->rows += next - y;
            ++here->alike;
            for (int part = 0; part < SourceCells::parts; ++part)
                alike[part][count] = {band.first_cell[part] +
                                          std::size_t(row - band.begin) * source.row_bytes(part),
                                      next - y};
        }
    }
};

// --- columns ------------------------------------------------------------------------------------

// The columns of blocks below each other, by the parts of the source that they read.
struct BlockColumns {
    std::size_t count[SourceCells::parts];
    void *plan[SourceCells::parts];
};

class Blocks {
public:
    Blocks(const CellKernels &kernels, const SourceCells &source, const Positions &columns,
           int pixel_bytes)
        : kernels_(kernels), source_(source), columns_(columns), pixel_bytes_(pixel_bytes) {}

    // Of aligned memory for all of them.
    std::size_t bytes() const {
        std::size_t bytes = aligned(count() * sizeof(BlockColumns));
        for (std::size_t i = 0; i < count(); ++i)
            each_part(i, [&](int, const Positions &columns) { bytes += plan_bytes(columns); });
        return bytes;
    }

    void make_in(void *memory) {
        blocks_ = static_cast<BlockColumns *>(memory);
        auto *free = static_cast<std::byte *>(memory) + aligned(count() * sizeof(BlockColumns));
        for (std::size_t i = 0; i < count(); ++i) {
            blocks_[i] = {};
            each_part(i, [&](int part, const Positions &columns) {
                blocks_[i].count[part] = columns.count;
                blocks_[i].plan[part] = free;
                free += plan_bytes(columns);
                std::int32_t index[block_side];
                std::transform(columns.index, columns.index + columns.count, index,
                               [&](int pixel) { return pixel - source_.first_pixel(part); });
                kernels_.make_plan(blocks_[i].plan[part], index, columns.count,
                                   std::size_t(source_.cell_width(part)), pixel_bytes_);
            });
        }
    }

    std::size_t count() const { return (columns_.count + block_side - 1) / block_side; }

    void make(std::size_t block, std::uint8_t *pixels, std::size_t stride,
              const BlockRows &rows) const {
        for (int part = 0; part < SourceCells::parts; ++part) {
            if (blocks_[block].count[part] == 0)
                continue;
            const AlikeRows *alike = rows.alike[part];
            std::uint8_t *to = pixels;
            for (const BlockRows::Bands &bands : rows.bands) {
                if (bands.rows == 0)
                    continue;
                kernels_.make_rows(to, stride, blocks_[block].plan[part], bands.cell_stride, alike,
                                   bands.alike);
                alike += bands.alike;
                to += bands.rows * stride;
            }
            pixels += blocks_[block].count[part] * std::size_t(pixel_bytes_);
        }
    }

private:
    static std::size_t aligned(std::size_t bytes) { return round_up_to_work_alignment(bytes); }
    std::size_t plan_bytes(const Positions &columns) const {
        return aligned(kernels_.plan_bytes(columns.count, pixel_bytes_));
    }

    // Calls visit(part, columns) for the parts of the source that a block reads. Positions go from
    // left to right.
    template <typename Visit>
    void each_part(std::size_t block, const Visit &visit) const {
        const std::size_t begin = block * block_side;
        const std::size_t end = std::min<std::size_t>(begin + block_side, columns_.count);
        const auto *const middle =
            std::lower_bound(columns_.index + begin, columns_.index + end, source_.end_of_part(0));
        const auto split = std::size_t(middle - columns_.index);
        if (split != begin)
            visit(0, columns_.part(begin, split));
        if (split != end)
            visit(1, columns_.part(split, end));
    }

    const CellKernels &kernels_;
    const SourceCells &source_;
    const Positions columns_;
    const int pixel_bytes_;
    BlockColumns *blocks_ = nullptr;
};

// Whether pixels may be read where they lie, and all of them are there.
bool has_all_cells(const buffer::Record &source) {
    std::byte *const *const cells = buffer::readable_cells(source);
    const int count = source.owner().info.cell_count;
    return cells != nullptr && std::find(cells, cells + count, nullptr) == cells + count;
}

} // namespace

bool goes_from_cell_to_cell(const BufferJob &job, const Method &method) {
    const buffer::Record &source = *record_of(job.source);
    const buffer::Record &destination = *record_of(job.destination);
    const CellKernels *const kernels = method.chosen_kernels().in_cells;
    if (kernels == nullptr || job.progress.is_watched())
        return false;
    const bool is_reduced = destination.info.width < source.info.width;
    const int widest = is_reduced ? kernels->widest_reduced : 1;
    return destination.info.bytes_per_pixel <= widest &&
           source.info.bits_per_pixel == 8 * destination.info.bytes_per_pixel &&
           &source != &destination &&
           !(buffer::has_callers_pixels(source) && buffer::has_callers_pixels(destination)) &&
           destination.operations.cell_lock == buffer::cell_lock &&
           buffer::own_cell(destination, 0) != nullptr && has_all_cells(source);
}

bool resample_from_cell_to_cell(const BufferJob &job, const CellTables &tables,
                                const Method &method) {
    const buffer::Record &source_record = *record_of(job.source);
    const buffer::Record &destination = *record_of(job.destination);
    const SourceCells source(source_record.owner(), buffer::readable_cells(source_record));
    const Positions columns = tables.columns(), rows = tables.rows();
    Blocks blocks(*method.chosen_kernels().in_cells, source, columns,
                  destination.info.bytes_per_pixel);

    const GlobalBlock row_memory = make_global_block(GMEM_FIXED, sizeof(BlockRows));
    if (!row_memory)
        return fail(method.cell_sites->no_source_block);
    const GlobalBlock plan_memory =
        make_global_block(GMEM_FIXED, std::uint64_t(blocks.bytes()) + work_alignment);
    if (!plan_memory)
        return fail(method.cell_sites->no_destination_block);
    auto &block_rows = *static_cast<BlockRows *>(row_memory.get());
    blocks.make_in(first_aligned(plan_memory.get()));

    for (std::size_t y = 0; y < rows.count; y += block_side) {
        block_rows.find(source, rows.part(y, std::min<std::size_t>(y + block_side, rows.count)));
        for (std::size_t block = 0; block < blocks.count(); ++block) {
            const buffer::PixelPlace place =
                buffer::place_of(destination, int(block * block_side), int(y));
            auto *const pixels =
                reinterpret_cast<std::uint8_t *>(buffer::own_cell(destination, place.cell)) +
                place.offset;
            const bool is_last =
                place.cell % destination.info.cell_columns == destination.info.cell_columns - 1;
            blocks.make(block, pixels,
                        is_last ? destination.last_column_row_bytes : destination.cell_row_bytes,
                        block_rows);
        }
    }
    return true;
}

} // namespace q32::resample
