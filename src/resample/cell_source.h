// The source as cells read it: rows of the columns that a piece needs, fetched from the buffer in
// blocks of rows.
#pragma once

#include "buffer/record.h"
#include "library/process/owners.h"
#include "resample/methods.h"

#include <cstdint>

namespace q32::resample {

// Memory that pieces need again and again in sizes that differ little: kept, and had anew only
// where more is needed.
class ReusedBlock {
public:
    explicit ReusedBlock(UINT flags) : flags_(flags) {}

    // What it held is lost where it grows. Null when there is no memory.
    std::uint8_t *of_bytes(SIZE_T bytes) {
        if (!block_ || bytes > bytes_) {
            block_.reset();
            block_.reset(GlobalAlloc(flags_, bytes));
            bytes_ = bytes;
        }
        return static_cast<std::uint8_t *>(block_.get());
    }

private:
    UINT flags_;
    GlobalBlock block_;
    SIZE_T bytes_ = 0;
};

class CellSource {
public:
    // The first pixel_bytes of each pixel of a buffer.
    CellSource(buffer::Record &record, int pixel_bytes, const Method &method)
        : record_(record), pixel_bytes_(pixel_bytes), kernels_(method.chosen_kernels()),
          sites_(*method.cell_sites) {}

    // Turns to what the positions of a piece read, and fetches the first block of it. Reports and
    // returns false when that fails.
    bool begin(const Positions &columns, const Positions &rows);

    Span columns() const { return columns_; }
    Span rows() const { return {0, record_.info.height}; }

    // The pixels of a row, from the first of the columns on, as long as no other row is asked for.
    // Rows are asked for from top to bottom. Reports and returns null when it cannot be read.
    const std::uint8_t *row(int y) {
        return y >= first_row_ && y < end_row_ ? at_hand(y) : fetch(y);
    }

private:
    Span read_by(const Positions &positions, int image) const;
    bool passes_over_rows() const;
    int most_rows_at_once() const;
    void prefetch_behind(int row);
    const std::uint8_t *at_hand(int y) const {
        return pixels_ + std::size_t(y - first_row_) * stride_;
    }
    const std::uint8_t *fetch(int first_row);
    void drop_other_bytes(int rows);

    buffer::Record &record_;
    int pixel_bytes_;
    const MethodKernels &kernels_; // how many lines they take: of rows and of columns alike
    const site::CellSites &sites_;
    ReusedBlock block_{GMEM_FIXED | GMEM_ZEROINIT};
    std::uint8_t *pixels_ = nullptr;
    std::size_t stride_ = 0;

    Span columns_ = {};
    Positions rows_ = {};  // of the destination
    std::size_t next_ = 0; // of them, whose source rows have not been prefetched
    bool passes_over_rows_ = false;
    Span rows_read_ = {};
    int rows_at_once_ = 0;
    int first_row_ = 0, end_row_ = 0; // at hand
};

} // namespace q32::resample
