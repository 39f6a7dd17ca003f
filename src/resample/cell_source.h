// The source as cells read it: rows of the pixels that a piece needs, read where they lie, or
// fetched from the buffer in blocks of rows.
#pragma once

#include "buffer/record.h"
#include "library/process/owners.h"
#include "resample/methods.h"
#include "resample/piece_columns.h"

#include <array>
#include <cstdint>

namespace q32::resample {

// Memory that pieces need again and again in sizes that differ little: kept, and had anew only
// where more is needed.
class ReusedBlock {
public:
    explicit ReusedBlock(UINT flags) : flags_(flags) {}

    bool is_of_bytes(SIZE_T bytes) const { return block_ && bytes <= bytes_; }

    // What it held is lost where it grows. Null when there is no memory.
    std::uint8_t *of_bytes(SIZE_T bytes) {
        if (!is_of_bytes(bytes)) {
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
    // The first pixel_bytes of each pixel of a buffer, for pieces that are written to another.
    CellSource(buffer::Record &record, const buffer::Record &destination, int pixel_bytes,
               const Method &method)
        : record_(record), destination_(destination), pixel_bytes_(pixel_bytes),
          kernels_(method.chosen_kernels()), sites_(*method.cell_sites) {}

    // Turns to what the positions of a piece read, and sees to it that its first row is there.
    // Reports and returns false when that fails.
    bool begin(const Positions &columns, const Positions &rows);

    const ColumnsRead &columns() const { return read_; }
    CellGrid grid() const { return CellGrid(record_.owner()); }
    Span rows() const { return {0, record_.info.height}; }

    // The rows at hand, of which one is this, for a run of the piece's columns: as long as no
    // others are asked for. Blocks are fetched from top to bottom. Reports and returns false when
    // there are none. Stored field by field: a processor waits for what it is to load as a whole.
    bool find_rows_around(int y, const PieceColumns &columns, const ColumnRun &run,
                          RowsAtHand *found);

    // How many rows beside each other are at hand together, whichever they are: those of cells lie
    // where they lie; rows put together have places of their own, and come by halves of these.
    int rows_that_stay() const {
        switch (read_.reading) {
        case Reading::copied:
            return 1;
        case Reading::in_cells:
            return record_.info.height;
        default:
            return slots_ > kernels_.lines ? slots_ / 2 + 1 : slots_;
        }
    }

    // The taps of a row, for columns that are gathered. Reports and returns false when it cannot be
    // read.
    bool gather(std::uint8_t *taps, int y, const PieceColumns &columns);

private:
    bool may_be_read_in_cells() const;
    Span rows_read_by(const Positions &rows) const;
    bool passes_over_rows() const;
    int most_rows_at_once() const;
    std::size_t block_bytes(std::size_t columns) const;
    std::size_t gathered_row_bytes(std::size_t columns) const;
    int slots_for() const;
    int rows_assembled_at(int y) const;
    bool turn_to(int y);
    template <typename Put>
    bool find_row_in_slot(int y, std::size_t bytes, RowsAtHand *found, const Put &put);
    CellRows::Assembly assembly_of(const CellGrid &grid) const;
    RowsAtHand at_hand() const { return {pixels_, stride_, first_row_, end_row_ - first_row_}; }
    void prefetch_behind(int row);
    bool fetch(int first_row);
    void drop_other_bytes(int rows);

    buffer::Record &record_;
    const buffer::Record &destination_;
    int pixel_bytes_;
    const MethodKernels &kernels_; // how many lines they take: of rows and of columns alike
    const site::CellSites &sites_;
    ReusedBlock block_{GMEM_FIXED | GMEM_ZEROINIT};
    std::uint8_t *pixels_ = nullptr;
    std::size_t stride_ = 0;

    // Rows that are put together: some are kept.
    static constexpr int no_row = -1, most_slots = 16;
    int slots_ = 1;
    std::array<int, most_slots> row_in_slot_ = {};

    ColumnsRead read_ = {};
    CellRows cells_;
    CellRows::Assembly assembly_ = {};
    Positions rows_ = {};  // of the destination
    std::size_t next_ = 0; // of them, whose source rows have not been prefetched
    bool passes_over_rows_ = false;
    Span rows_read_ = {};
    int rows_at_once_ = 0;
    int first_row_ = 0, end_row_ = 0; // at hand
};

} // namespace q32::resample
