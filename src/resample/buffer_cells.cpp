// The cell path: walks the destination's cells and makes each where it lies, or in a block that is
// written to it. A cell of more than 128 x 128 pixels is taken in pieces: a linear buffer is a
// single cell.
#include "resample/buffer_paths.h"

#include "buffer/buffer_lock.h"
#include "buffer/cells.h"
#include "library/process/process.h"
#include "library/process/thread_priority.h"
#include "resample/cell_source.h"
#include "resample/cell_to_cell.h"
#include "resample/kernels/row_resampler.h"
#include "resample/position_tables.h"
#include "rows/rows.h"

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
    PieceMaker(const BufferJob &job, const CellTables &tables, const Method &method,
               int piece_width)
        : destination_(*record_of(job.destination)), tables_(tables),
          kernels_(method.chosen_kernels()), sites_(*method.cell_sites),
          pixel_bytes_(destination_.info.bytes_per_pixel),
          source_(*record_of(job.source), destination_, pixel_bytes_, method),
          columns_(kernels_, tables.columns(), pixel_bytes_, std::size_t(piece_width)) {}

    // The piece lies in one cell, or fills a band of cells that are the buffer's own. Reports and
    // returns false when it fails.
    bool make(const Area &piece) {
        const Positions columns = tables_.columns().part(piece.left, piece.right);
        const Positions rows = tables_.rows().part(piece.top, piece.bottom);
        if (!source_.begin(columns, rows))
            return false;
        const Target in_cell = target_in_cell(piece);
        const bool is_staged = in_cell.pixels == nullptr;
        const std::size_t row_bytes = columns.count * std::size_t(pixel_bytes_);
        const bool is_of_one_cell = piece.width() <= destination_.info.cell_width;
        const std::size_t staged_rows =
            is_of_one_cell ? is_staged ? rows.count : 0 : rows_between_cells(row_bytes);
        const Work work = find_work(columns.count, staged_rows * row_bytes);
        if (work.plans == nullptr)
            return fail(sites_.no_destination_block);
        const Plans plans = {columns_.of(piece.left, piece.right, source_.columns()), columns.count,
                             work.lines};
        const Target staged = {work.staged, row_bytes};
        if (!is_of_one_cell) {
            const CellParts parts = parts_of(piece);
            return fill(plans, rows, staged, staged_rows, [&](std::size_t y, std::size_t count) {
                move_to_cells(parts, staged, y, count);
            });
        }
        const auto is_in_place = [](std::size_t, std::size_t) {};
        if (!is_staged)
            return fill(plans, rows, in_cell, rows.count, is_in_place);
        return fill(plans, rows, staged, rows.count, is_in_place) && write(piece, work.staged);
    }

private:
    struct Plans {
        const PieceColumns &columns;
        std::size_t count; // of columns
        void *lines;       // memory for them
    };

    // One block of memory, for the plans of all pieces and for one piece's lines and pixels. Null
    // plans: there is none.
    struct Work {
        std::uint8_t *plans, *lines, *staged;
    };
    Work find_work(std::size_t columns, std::size_t staged_bytes) {
        const bool has_turned = columns_.turn_to(source_.grid());
        const std::size_t plan_bytes = columns_.bytes();
        const std::size_t line_bytes = RowResampler::lines_bytes(kernels_, columns, pixel_bytes_);
        const std::size_t bytes = work_alignment + plan_bytes + line_bytes + staged_bytes;
        const bool is_kept = block_.is_of_bytes(bytes) && !has_turned;
        std::uint8_t *const block = block_.of_bytes(bytes);
        if (block == nullptr)
            return {};
        auto *const plans = static_cast<std::uint8_t *>(first_aligned(block));
        if (!is_kept)
            columns_.keep_in(plans);
        return {plans, plans + plan_bytes, plans + plan_bytes + line_bytes};
    }

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

    // Rows of the source as RowResampler fetches them. Null: that has been reported.
    struct Fetch {
        CellSource &source;
        const PieceColumns &columns;
        const int rows_that_stay;
        mutable RowsAtHand at_hand = {};

        const std::uint8_t *operator()(int row) const {
            if (!at_hand.have(row) &&
                !source.find_rows_around(row, columns, *columns.begin(), &at_hand))
                return nullptr;
            return at_hand.row(row);
        }
    };

    // Makes so many rows at once in the target, and hands them on.
    template <typename HandOn>
    bool fill(const Plans &plans, const Positions &rows, const Target &target,
              std::size_t rows_at_once, const HandOn &hand_on) {
        const ColumnRun &all = *plans.columns.begin();
        RowResampler resampler(kernels_, all.plan, plans.lines, plans.count, pixel_bytes_);
        const Fetch fetch = {source_, plans.columns, source_.rows_that_stay()};
        for (std::size_t y = 0, next; y < rows.count; y = next) {
            next = end_of_rows_at_once(rows, y, rows_at_once);
            const Positions some = rows.part(y, next);
            const bool done = kernels_.down == nullptr
                                  ? fill_with_lines(plans, some, target)
                                  : resampler.make_rows(target.pixels, target.stride, some,
                                                        source_.rows(), fetch);
            if (!done)
                return false;
            hand_on(y, next - y);
        }
        return true;
    }

    // Rows between the same rows of the source are made together: they are not parted.
    static std::size_t end_of_rows_at_once(const Positions &rows, std::size_t y,
                                           std::size_t rows_at_once) {
        const std::size_t most = std::min(y + rows_at_once, rows.count);
        std::size_t end = most;
        while (end < rows.count && end > y && rows.index[end] == rows.index[end - 1])
            --end;
        return end > y ? end : most;
    }

    // So many that they stay in the cache of first level.
    static std::size_t rows_between_cells(std::size_t row_bytes) {
        constexpr std::size_t bytes = 8 * 1024;
        return std::max<std::size_t>(bytes / row_bytes, 1);
    }

    // The parts of a piece in cells beside each other.
    struct CellParts {
        Target cell[widest_piece / buffer::largest_cell_side];
        std::size_t bytes[widest_piece / buffer::largest_cell_side]; // of a row
        std::size_t count = 0;
    };
    CellParts parts_of(const Area &piece) {
        CellParts parts;
        const int width = destination_.info.cell_width;
        for (int x = piece.left; x < piece.right; x += width, ++parts.count) {
            parts.cell[parts.count] = target_in_cell(area_of(x, piece.top, width, 1));
            parts.bytes[parts.count] =
                std::size_t(std::min(width, piece.right - x)) * unsigned(pixel_bytes_);
        }
        return parts;
    }

    // From row y of the piece on.
    static void move_to_cells(const CellParts &parts, const Target &staged, std::size_t y,
                              std::size_t count) {
        const std::uint8_t *pixels = staged.pixels;
        for (std::size_t i = 0; i < parts.count; ++i) {
            const Target &cell = parts.cell[i];
            rows::kernels().copy_rows(cell.pixels + y * cell.stride, cell.stride, pixels,
                                      staged.stride, parts.bytes[i], count);
            pixels += parts.bytes[i];
        }
    }

    // Where lines are destination rows.
    bool fill_with_lines(const Plans &plans, const Positions &rows, const Target &target) {
        if (plans.columns.read().reading == Reading::gathered)
            return fill_gathered(plans, rows, target);
        for (const ColumnRun &run : plans.columns)
            if (!fill_run(plans.columns, run, rows, target))
                return false;
        return true;
    }

    // All rows that are made of those at hand at once.
    bool fill_run(const PieceColumns &columns, const ColumnRun &run, const Positions &rows,
                  const Target &target) {
        const Span source_rows = source_.rows();
        std::uint8_t *const part = target.pixels + run.begin * std::size_t(pixel_bytes_);
        for (std::size_t y = 0, next; y < rows.count; y = next) {
            RowsAtHand at_hand;
            if (!source_.find_rows_around(source_rows.cut(rows.index[y]), columns, run, &at_hand))
                return false;
            next = end_of_rows_at_hand(rows, y, at_hand);
            kernels_.across_rows(part + y * target.stride, target.stride, run.plan,
                                 {at_hand.pixels, at_hand.stride, {at_hand.first, at_hand.count}},
                                 rows.index + y, next - y);
        }
        return true;
    }

    // Positions go from top to bottom; those beyond the last row read that.
    std::size_t end_of_rows_at_hand(const Positions &rows, std::size_t y,
                                    const RowsAtHand &at_hand) const {
        const int end = at_hand.first + at_hand.count;
        if (end > source_.rows().last())
            return rows.count;
        return std::size_t(std::lower_bound(rows.index + y + 1, rows.index + rows.count, end) -
                           rows.index);
    }

    // Rows of one source row are made once and copied.
    bool fill_gathered(const Plans &plans, const Positions &rows, const Target &target) {
        const Span source_rows = source_.rows();
        std::uint8_t *line = target.pixels;
        for (std::size_t y = 0, next; y < rows.count; y = next) {
            const int row = source_rows.cut(rows.index[y]);
            for (next = y + 1; next < rows.count && rows.index[next] == rows.index[y];)
                ++next;
            if (!source_.gather(line, row, plans.columns))
                return false;
            const std::size_t alike = next - y - 1;
            if (alike != 0)
                rows::kernels().copy_rows(line + target.stride, target.stride, line, 0,
                                          plans.count * std::size_t(pixel_bytes_), alike);
            line += (1 + alike) * target.stride;
        }
        return true;
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
    KeptColumns columns_;
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
bool each_piece(const Area &area, int width, const Make &make) {
    constexpr int height = buffer::largest_cell_side;
    for (int y = area.top; y < area.bottom; y += height)
        for (int x = area.left; x < area.right; x += width)
            if (!make(intersect(area_of(x, y, width, height), area)))
                return false;
    return true;
}

// How many cells beside each other are made at once. Long rows cost less, but go through a block
// and from there to the cells: single bytes gain by it, and what has more to do with rows of the
// source than with those of the destination. As long as nobody calls back it does not show; and all
// of the cells must be the buffer's own.
int cells_at_once(const BufferJob &job, const Method &method) {
    constexpr int most_bytes = 1536; // of a row
    const buffer::Record &destination = *record_of(job.destination);
    const bool is_reduced = job.source_info().width >= destination.info.width;
    const bool has_neighbours = method.chosen_kernels().down != nullptr;
    const bool gains = has_neighbours && (destination.info.bytes_per_pixel == 1 || is_reduced);
    if (!gains || job.progress.is_watched() || buffer::own_cell(destination, 0) == nullptr)
        return 1;
    constexpr int most = int(widest_piece) / buffer::largest_cell_side;
    return std::clamp(most_bytes / std::max(int(destination.cell_row_bytes), 1), 1, most);
}

bool make_cells(const BufferJob &job, const CellTables &tables, const Method &method) {
    const int at_once = cells_at_once(job, method);
    const int piece_width = at_once * buffer::largest_cell_side;
    PieceMaker maker(job, tables, method, piece_width);
    // The callback may change a linear buffer's height meanwhile.
    const Area with_positions = {0, 0, int(tables.columns().count), int(tables.rows().count)};
    const auto make = [&](const Area &area) {
        return each_piece(intersect(area, with_positions), piece_width,
                          [&](const Area &piece) { return maker.make(piece); });
    };
    const int columns = record_of(job.destination)->info.cell_columns;
    const int count = record_of(job.destination)->info.cell_count;
    for (int index = 0; index < count;) {
        if (!job.progress.report(job.progress.value_after(index, count)))
            return fail(method.cell_sites->cancelled);
        const int cells = std::min(at_once, columns - index % columns);
        Area area = {};
        bool found = true;
        for (int i = 0; i < cells && found; ++i) {
            Area cell;
            found = find_cell(job.destination, index + i, &cell);
            if (found)
                area = i == 0 ? cell : Area{area.left, area.top, cell.right, cell.bottom};
        }
        if (!area.is_empty() && !make(area))
            return false;
        if (!found)
            return false;
        index += cells;
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
    if (goes_from_cell_to_cell(job, method))
        return resample_from_cell_to_cell(job, tables, method);
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
