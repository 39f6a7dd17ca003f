// Which rows and columns of the source a piece reads, and how many rows are fetched at once.
#include "resample/cell_source.h"

#include "buffer/pixels.h"

#include <algorithm>

namespace q32::resample {

// Positions go from left to right and from top to bottom.
Span CellSource::read_by(const Positions &positions, int image) const {
    const auto cut = [&](int pixel) { return std::clamp(pixel, 0, image - 1); };
    const int first = cut(positions.index[0] + kernels_.first_line);
    const int last =
        cut(positions.index[positions.count - 1] + kernels_.first_line + kernels_.lines - 1);
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
    constexpr std::size_t block_bytes = 96 * 1024;
    if (passes_over_rows_)
        return kernels_.lines;
    return int(std::max(block_bytes / stride_, std::size_t(kernels_.lines)));
}

bool CellSource::begin(const Positions &columns, const Positions &rows) {
    columns_ = read_by(columns, record_.info.width);
    rows_read_ = read_by(rows, record_.info.height);
    stride_ = std::size_t(columns_.count) * std::size_t(pixel_bytes_);
    rows_ = rows;
    next_ = 0;
    passes_over_rows_ = passes_over_rows();
    rows_at_once_ = std::min(most_rows_at_once(), rows_read_.count);

    const auto stored_pixel_bytes = std::size_t(record_.info.bytes_per_pixel);
    pixels_ = block_.of_bytes(std::size_t(columns_.count) * stored_pixel_bytes *
                              std::size_t(rows_at_once_));
    if (pixels_ == nullptr)
        return fail(sites_.no_source_block);
    return fetch(rows_read_.first) != nullptr;
}

const std::uint8_t *CellSource::fetch(int first_row) {
    const int rows = std::min(rows_at_once_, rows_read_.last() - first_row + 1);
    if (!record_.operations.get_memory(record_, columns_.first, first_row, columns_.count, rows,
                                       pixels_)) {
        fail(sites_.not_fetched);
        return nullptr;
    }
    if (record_.info.bytes_per_pixel != pixel_bytes_)
        drop_other_bytes(rows);
    first_row_ = first_row;
    end_row_ = first_row + rows;
    if (passes_over_rows_)
        prefetch_behind(end_row_ - 1);
    return pixels_;
}

// The rows of the destination row that comes next: with what lies between them unread, the
// processor does not see it coming.
void CellSource::prefetch_behind(int row) {
    while (next_ < rows_.count && rows_.index[next_] + kernels_.first_line <= row)
        ++next_;
    if (next_ == rows_.count)
        return;
    const int first = std::clamp(rows_.index[next_] + kernels_.first_line, 0, rows_read_.last());
    const int count = std::min(kernels_.lines, rows_read_.last() - first + 1);
    prefetch_pixels(record_, area_of(columns_.first, first, columns_.count, count));
}

void CellSource::drop_other_bytes(int rows) {
    const auto kept = std::size_t(pixel_bytes_);
    const auto stored = std::size_t(record_.info.bytes_per_pixel);
    const std::size_t pixels = std::size_t(columns_.count) * std::size_t(rows);
    for (std::size_t i = 0; i < pixels; ++i)
        std::copy_n(pixels_ + i * stored, kept, pixels_ + i * kept);
}

} // namespace q32::resample
