// Which rows of the source a piece reads, where they are read, and how many are fetched at once.
#include "resample/cell_source.h"

#include "buffer/pixels.h"
#include "buffer/types.h"

#include <algorithm>

namespace q32::resample {

// Where pixels may be read while the destination's are written. A buffer into itself, and two that
// may lie over the same memory of the caller, are read as they were when a piece was begun.
bool CellSource::may_be_read_in_cells() const {
    return record_.info.bits_per_pixel == 8 * pixel_bytes_ && &record_ != &destination_ &&
           !(buffer::has_callers_pixels(record_) && buffer::has_callers_pixels(destination_));
}

// Positions go from top to bottom.
Span CellSource::rows_read_by(const Positions &rows) const {
    const int first = this->rows().cut(rows.index[0] + kernels_.first_line);
    const int last =
        this->rows().cut(rows.index[rows.count - 1] + kernels_.first_line + kernels_.lines - 1);
    return {first, last - first + 1};
}

// Whether, from one destination row to the next, at least one source row is passed over.
bool CellSource::passes_over_rows() const {
    const int span = rows_.index[rows_.count - 1] - rows_.index[0];
    return std::size_t(span) > std::size_t(kernels_.lines + 1) * (rows_.count - 1);
}

// Where rows are passed over, one destination row's are fetched at a time and the others never.
// Otherwise so many that a call costs little beside them, and that they stay in the cache.
int CellSource::most_rows_at_once() const {
    constexpr std::size_t most_bytes = 12 * 1024;
    if (passes_over_rows_)
        return kernels_.lines;
    return int(std::max(most_bytes / stride_, std::size_t(kernels_.lines)));
}

bool CellSource::begin(const Positions &columns, const Positions &rows) {
    std::byte *const *const cells =
        may_be_read_in_cells() ? buffer::readable_cells(record_) : nullptr;
    const CellGrid grid = this->grid();
    read_ = columns_read(kernels_, columns, grid, cells != nullptr);
    rows_ = rows;
    rows_read_ = rows_read_by(rows);
    next_ = 0;
    passes_over_rows_ = passes_over_rows();
    stride_ = std::size_t(read_.span.count) * std::size_t(pixel_bytes_);
    rows_at_once_ = std::min(most_rows_at_once(), rows_read_.count);

    slots_ = slots_for();
    row_in_slot_.fill(no_row);
    pixels_ = block_.of_bytes(block_bytes(columns.count));
    if (pixels_ == nullptr)
        return fail(sites_.no_source_block);
    if (read_.reading == Reading::copied)
        return fetch(rows_read_.first);
    assembly_ = assembly_of(grid);
    cells_.begin(record_.owner(), cells, grid.column_of(read_.span.first),
                 grid.column_of(read_.span.last()));
    return turn_to(rows_read_.first);
}

// Where pixels lie in cells no block is needed, but programs see that there was memory for one.
std::size_t CellSource::block_bytes(std::size_t columns) const {
    const auto stored_pixel_bytes = std::size_t(record_.info.bytes_per_pixel);
    switch (read_.reading) {
    case Reading::copied:
        return std::size_t(read_.span.count) * stored_pixel_bytes * std::size_t(rows_at_once_);
    case Reading::assembled:
        return stride_ * unsigned(slots_);
    case Reading::gathered:
        return gathered_row_bytes(columns) * unsigned(slots_);
    default:
        return 1;
    }
}

// As many as are read together, or are worth a call of the kernels where rows are made of lines
// that others share; a power of two.
int CellSource::slots_for() const {
    constexpr std::size_t most_bytes = 8 * 1024;
    int slots = kernels_.straight != nullptr ? kernels_.lines : 1;
    if (kernels_.make_rows == nullptr || read_.reading != Reading::assembled ||
        std::size_t(rows_read_.count) > rows_.count)
        return slots;
    while (slots < most_slots && 2 * unsigned(slots) * stride_ <= most_bytes)
        slots *= 2;
    return slots;
}

std::size_t CellSource::gathered_row_bytes(std::size_t columns) const {
    return columns * std::size_t(kernels_.lines) * std::size_t(pixel_bytes_);
}

bool CellSource::find_rows_around(int y, const PieceColumns &columns, const ColumnRun &run,
                                  RowsAtHand *found) {
    switch (read_.reading) {
    case Reading::copied:
        if (!at_hand().have(y) && !fetch(y))
            return false;
        *found = at_hand();
        return true;
    case Reading::assembled:
        return find_row_in_slot(y, stride_, found, [&](std::uint8_t *rows) {
            const int count = rows_assembled_at(y);
            cells_.assemble(rows, stride_, count, assembly_);
            return count;
        });
    case Reading::gathered:
        return find_row_in_slot(y, gathered_row_bytes(run.count), found, [&](std::uint8_t *row) {
            columns.taps().take(row, cells_);
            return 1;
        });
    default:
        if (!turn_to(y))
            return false;
        *found = cells_.of_cell(run.cell, run.row_bytes).from(run.offset);
        return true;
    }
}

bool CellSource::gather(std::uint8_t *taps, int y, const PieceColumns &columns) {
    if (!turn_to(y))
        return false;
    columns.taps().take(taps, cells_);
    return true;
}

// The rest of its half of the slots: rows of the other half stay where they are.
int CellSource::rows_assembled_at(int y) const {
    if (slots_ <= kernels_.lines)
        return 1;
    const int half = slots_ / 2;
    return std::min({half - y % half, cells_.rows_left(), rows_read_.last() + 1 - y});
}

// Rows that are read together are neighbours and have slots of their own. put answers how many rows
// it has put there, one behind the other.
template <typename Put>
bool CellSource::find_row_in_slot(int y, std::size_t bytes, RowsAtHand *found, const Put &put) {
    const std::size_t slot = unsigned(y) & unsigned(slots_ - 1);
    std::uint8_t *const row = pixels_ + slot * bytes;
    if (row_in_slot_[slot] != y) {
        if (!turn_to(y))
            return false;
        const int count = put(row);
        for (int i = 0; i < count; ++i)
            row_in_slot_[slot + unsigned(i)] = y + i;
    }
    *found = {row, 0, y, 1};
    return true;
}

CellRows::Assembly CellSource::assembly_of(const CellGrid &grid) const {
    const auto bytes = [&](int pixels) { return std::size_t(pixels) * unsigned(pixel_bytes_); };
    const Span &span = read_.span;
    const int first = grid.column_of(span.first), last = grid.column_of(span.last());
    return {grid.row_bytes, bytes(span.first - grid.first_pixel(first)), grid.row_bytes_of(last),
            bytes(span.last() + 1 - grid.first_pixel(last))};
}

bool CellSource::turn_to(int y) {
    return cells_.turn_to(y) || fail(sites_.not_fetched);
}

bool CellSource::fetch(int first_row) {
    const int rows = std::min(rows_at_once_, rows_read_.last() - first_row + 1);
    if (!record_.operations.get_memory(record_, read_.span.first, first_row, read_.span.count, rows,
                                       pixels_))
        return fail(sites_.not_fetched);
    if (record_.info.bytes_per_pixel != pixel_bytes_)
        drop_other_bytes(rows);
    first_row_ = first_row;
    end_row_ = first_row + rows;
    if (passes_over_rows_)
        prefetch_behind(end_row_ - 1);
    return true;
}

// The rows of the destination row that comes next: with what lies between them unread, the
// processor does not see it coming.
void CellSource::prefetch_behind(int row) {
    const auto first_line = [&] { return rows_.index[next_] + kernels_.first_line; };
    if (next_ == rows_.count || first_line() > row)
        return; // they have been already
    while (next_ < rows_.count && first_line() <= row)
        ++next_;
    if (next_ == rows_.count)
        return;
    const int first = std::clamp(first_line(), 0, rows_read_.last());
    const int count = std::min(kernels_.lines, rows_read_.last() - first + 1);
    prefetch_pixels(record_, area_of(read_.span.first, first, read_.span.count, count));
}

void CellSource::drop_other_bytes(int rows) {
    const auto kept = std::size_t(pixel_bytes_);
    const auto stored = std::size_t(record_.info.bytes_per_pixel);
    const std::size_t pixels = std::size_t(read_.span.count) * std::size_t(rows);
    for (std::size_t i = 0; i < pixels; ++i)
        std::copy_n(pixels_ + i * stored, kept, pixels_ + i * kept);
}

} // namespace q32::resample
