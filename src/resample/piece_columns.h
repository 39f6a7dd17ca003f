// What the columns of a piece of the destination are to the source and to the kernels: how their
// pixels come to hand, and the kernels' plans of them. Plans cost as much as many rows do: they are
// kept for the pieces below.
#pragma once

#include "resample/gathered_taps.h"
#include "resample/methods.h"

#include <cstddef>
#include <cstdint>

namespace q32::resample {

// How the pixels that columns read come to hand.
enum class Reading {
    copied,    // fetched from the buffer, rows of all that lies between the first and the last
    in_cells,  // where they lie
    assembled, // the same rows, put together of cells as they are asked for
    gathered,  // tap by tap from where they lie
};

// What the columns of a piece read.
struct ColumnsRead {
    Reading reading;
    Span span; // of the source, from the first pixel to the last

    bool operator==(const ColumnsRead &other) const {
        return reading == other.reading && span.first == other.span.first &&
               span.count == other.span.count;
    }
};

// Of pixels of so many bytes; `from_cells` when they may be read where they lie.
ColumnsRead columns_read(const MethodKernels &kernels, const Positions &columns,
                         const CellGrid &grid, bool from_cells);

// Neighbours among the columns of a piece that are made together: what they read is at hand in one
// row of pixels.
struct ColumnRun {
    std::size_t begin, count; // of the piece's columns
    void *plan;
    // In cells: where the row begins.
    int cell;
    std::size_t row_bytes, offset;
};

class PieceColumns {
public:
    const ColumnsRead &read() const { return read_; }
    // One, unless lines are destination rows: their columns have no neighbours that they need.
    const ColumnRun *begin() const { return run_; }
    const ColumnRun *end() const { return run_ + runs_; }
    // Of those that are gathered.
    const GatheredTaps &taps() const { return *taps_; }

private:
    friend class KeptColumns;

    ColumnsRead read_ = {};
    std::size_t runs_ = 0;
    ColumnRun *run_ = nullptr;
    GatheredTaps *taps_ = nullptr;
};

// The widest piece: some cells beside each other.
inline constexpr std::size_t widest_piece = 8 * buffer::largest_cell_side;

// Those of all pieces beside each other, of which the widest destination has a few hundred.
class KeptColumns {
public:
    KeptColumns(const MethodKernels &kernels, const Positions &columns, int pixel_bytes,
                std::size_t piece_width)
        : kernels_(kernels), columns_(columns), pixel_bytes_(pixel_bytes),
          piece_width_(piece_width) {}

    // Those kept are of no use when the source's cells have become others: true, and none is kept.
    bool turn_to(const CellGrid &grid);
    // Of aligned memory for all of them.
    std::size_t bytes() const { return pieces() * piece_bytes_; }
    // They are kept there from now on; none has been made.
    void keep_in(void *memory);

    // Of the piece from one column to another, which reads that.
    const PieceColumns &of(std::size_t left, std::size_t right, const ColumnsRead &read) const;

private:
    std::size_t pieces() const;
    std::size_t bytes_of(const Positions &columns, const ColumnsRead &read) const;
    void make(PieceColumns &piece, const Positions &columns, const ColumnsRead &read) const;

    const MethodKernels &kernels_;
    Positions columns_; // of the whole destination
    int pixel_bytes_;
    std::size_t piece_width_;
    CellGrid grid_;
    std::byte *memory_ = nullptr;
    std::size_t piece_bytes_ = 0; // the same for all
};

} // namespace q32::resample
