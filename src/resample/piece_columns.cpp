// How the columns of pieces are read, and their plans in one block of memory.
#include "resample/piece_columns.h"

#include <algorithm>
#include <new>

namespace q32::resample {
namespace {

constexpr std::size_t aligned(std::size_t bytes) {
    return round_up_to_work_alignment(bytes);
}

// Positions go from left to right.
Span span_read_by(const MethodKernels &kernels, const Positions &columns, const CellGrid &grid) {
    const int first = grid.cut(columns.index[0] + kernels.first_line);
    const int last =
        grid.cut(columns.index[columns.count - 1] + kernels.first_line + kernels.lines - 1);
    return {first, last - first + 1};
}

// From how many pixels for each column on its taps are worth taking by themselves.
int gathered_from(const MethodKernels &kernels) {
    return kernels.lines == 1 ? 4 : kernels.lines == 2 ? 3 : 5;
}

// Bytes of a cell's columns that are worth a call of their own.
constexpr std::size_t shortest_run = 32;

bool is_made_without_neighbours(const MethodKernels &kernels) {
    return kernels.down == nullptr;
}

Taps taps_of(const MethodKernels &kernels, int pixel_bytes) {
    return {kernels.lines, kernels.first_line, pixel_bytes};
}

// Calls visit(begin, end, cell) for the columns whose pixels lie in one column of cells.
template <typename Visit>
void each_cell(const Positions &columns, const CellGrid &grid, const Visit &visit) {
    for (std::size_t x = 0, end; x < columns.count; x = end) {
        const int cell = grid.column_of(grid.cut(columns.index[x]));
        const int end_of_cell = grid.first_pixel(cell + 1);
        for (end = x + 1; end < columns.count && grid.cut(columns.index[end]) < end_of_cell;)
            ++end;
        visit(x, end, cell);
    }
}

} // namespace

ColumnsRead columns_read(const MethodKernels &kernels, const Positions &columns,
                         const CellGrid &grid, bool from_cells) {
    const Span span = span_read_by(kernels, columns, grid);
    if (!from_cells)
        return {Reading::copied, span};
    if (grid.column_of(span.first) == grid.column_of(span.last()))
        return {Reading::in_cells, span};
    if (std::size_t(span.count) >= columns.count * unsigned(gathered_from(kernels)))
        return {Reading::gathered, span};
    const std::size_t run = columns.count * unsigned(grid.cell_width) / unsigned(span.count);
    const bool pays = run * grid.row_bytes >= shortest_run * unsigned(grid.cell_width);
    return {is_made_without_neighbours(kernels) && pays ? Reading::in_cells : Reading::assembled,
            span};
}

std::size_t KeptColumns::pieces() const {
    return (columns_.count + piece_width_ - 1) / piece_width_;
}

// Room for each piece, whether the source lies in cells or, once a callback has made something else
// of it, not.
bool KeptColumns::turn_to(const CellGrid &grid) {
    if (grid == grid_)
        return false;
    grid_ = grid;
    piece_bytes_ = 0;
    for (std::size_t left = 0; left < columns_.count; left += piece_width_) {
        const Positions columns =
            columns_.part(left, std::min(left + piece_width_, columns_.count));
        for (const bool from_cells : {false, true})
            piece_bytes_ = std::max(
                piece_bytes_, bytes_of(columns, columns_read(kernels_, columns, grid, from_cells)));
    }
    return true;
}

void KeptColumns::keep_in(void *memory) {
    memory_ = static_cast<std::byte *>(memory);
    for (std::size_t i = 0; i < pieces(); ++i)
        new (memory_ + i * piece_bytes_) PieceColumns;
}

const PieceColumns &KeptColumns::of(std::size_t left, std::size_t right,
                                    const ColumnsRead &read) const {
    auto &piece = *reinterpret_cast<PieceColumns *>(memory_ + left / piece_width_ * piece_bytes_);
    if (piece.run_ == nullptr || !(piece.read_ == read))
        make(piece, columns_.part(left, right), read);
    return piece;
}

std::size_t KeptColumns::bytes_of(const Positions &columns, const ColumnsRead &read) const {
    const auto plan_bytes = [&](std::size_t count) {
        return aligned(kernels_.plan_bytes(count, pixel_bytes_));
    };
    std::size_t bytes = aligned(sizeof(PieceColumns));
    if (read.reading == Reading::in_cells && is_made_without_neighbours(kernels_)) {
        std::size_t runs = 0;
        each_cell(columns, grid_, [&](std::size_t begin, std::size_t end, int) {
            ++runs;
            bytes += plan_bytes(end - begin);
        });
        return bytes + aligned(runs * sizeof(ColumnRun));
    }
    bytes += aligned(sizeof(ColumnRun));
    if (read.reading == Reading::gathered)
        bytes += aligned(GatheredTaps::bytes(columns.count, taps_of(kernels_, pixel_bytes_)));
    return bytes + plan_bytes(columns.count);
}

void KeptColumns::make(PieceColumns &piece, const Positions &columns,
                       const ColumnsRead &read) const {
    auto *free = reinterpret_cast<std::byte *>(&piece) + aligned(sizeof piece);
    const auto take = [&](std::size_t bytes) {
        void *const taken = free;
        free += aligned(bytes);
        return taken;
    };
    const auto make_plan = [&](const Positions &planned, const Span &span) {
        void *const plan = take(kernels_.plan_bytes(planned.count, pixel_bytes_));
        kernels_.make_plan(plan, planned, span, pixel_bytes_);
        return plan;
    };
    const auto run_in_cell = [&](std::size_t begin, std::size_t end, int cell, const Span &span) {
        const int x_in_cell = span.first - grid_.first_pixel(cell);
        // In a cell the pixels behind those that are read are at hand, too.
        Span at_hand = span;
        if (read.reading == Reading::in_cells)
            at_hand.count = std::min(grid_.first_pixel(cell + 1), grid_.image_width) - span.first;
        return ColumnRun{begin,
                         end - begin,
                         make_plan(columns.part(begin, end), at_hand),
                         cell,
                         grid_.row_bytes_of(cell),
                         std::size_t(x_in_cell) * unsigned(pixel_bytes_)};
    };
    piece.read_ = read;
    if (read.reading == Reading::in_cells && is_made_without_neighbours(kernels_)) {
        std::size_t runs = 0;
        each_cell(columns, grid_, [&](std::size_t, std::size_t, int) { ++runs; });
        piece.run_ = static_cast<ColumnRun *>(take(runs * sizeof(ColumnRun)));
        piece.runs_ = 0;
        each_cell(columns, grid_, [&](std::size_t begin, std::size_t end, int cell) {
            const Span span = span_read_by(kernels_, columns.part(begin, end), grid_);
            piece.run_[piece.runs_++] = run_in_cell(begin, end, cell, span);
        });
        return;
    }
    piece.run_ = static_cast<ColumnRun *>(take(sizeof(ColumnRun)));
    piece.runs_ = 1;
    if (read.reading != Reading::gathered) {
        *piece.run_ = run_in_cell(0, columns.count, grid_.column_of(read.span.first), read.span);
        return;
    }
    const Taps taps = taps_of(kernels_, pixel_bytes_);
    piece.taps_ =
        GatheredTaps::make(take(GatheredTaps::bytes(columns.count, taps)), columns, taps, grid_);
    // Taps beside each other are what the columns read.
    std::int32_t index[widest_piece];
    for (std::size_t x = 0; x < columns.count; ++x)
        index[x] = int(x) * taps.count - taps.first;
    void *const plan =
        make_plan({index, columns.fraction, columns.count}, {0, int(columns.count) * taps.count});
    *piece.run_ = {0, columns.count, plan, 0, 0, 0};
}

} // namespace q32::resample
