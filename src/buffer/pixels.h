// Pixels of an area between a buffer's storage and rows of plain memory: the one walk over cells.
// Takes no lock and gives no duplicate pixels of its own; that is its callers' part.
#pragma once

#include "buffer/record.h"

#include <cstddef>
#include <cstdint>

namespace q32::buffer {

// Bits that one pixel takes in rows of plain memory and inside a cell row: whole bytes from 8 bits
// on. At 12 bits, say, rectangles move one byte per pixel.
constexpr uint32_t unit_bits(const BUF32INFO &info) {
    return info.bits_per_pixel < 8 ? uint32_t(info.bits_per_pixel)
                                   : uint32_t(info.bytes_per_pixel) * 8;
}

// Bytes of a row of so many pixels in rectangles of plain memory.
constexpr size_t rectangle_row_bytes(const BUF32INFO &info, int width) {
    return size_t((uint64_t(uint32_t(width)) * unit_bits(info) + 7) / 8);
}

enum class Direction { to_memory, to_buffer };

// Rows of plain memory that stand for an area.
struct PlainRows {
    std::byte *memory;   // first row
    size_t stride;       // bytes from one row to the next
    size_t first_bit;    // of a row: where the area's leftmost pixel begins; may be 8 and more
    uint32_t pixel_bits; // bits of one pixel, here and in the cell rows

    // Whole rows of the image take along the bits that fill their last byte.
    bool with_padding = false;
};

// How the types have their pixels read (read_pixels): from cells, the source's for a duplicate;
// from the block that is all cells of a one-colour buffer, once a lock has made it. False when
// there is nothing to read.
bool read_cells(const Record &record, const Area &area, const PlainRows &rows);
bool read_block(const Record &record, const Area &area, const PlainRows &rows);

// The same from rows packed to the byte, wherever they lie.
bool read_packed_rows(const Record &record, std::byte *pixels, const Area &area,
                      const PlainRows &rows);

// A rectangle of few pixels of whole bytes that lies in one cell: it needs no cutting, no walk and
// no numbers beyond 32 bits, which would take longer than its pixels.
class SmallRectangle {
public:
    // Fewer rows than are worth being fetched ahead.
    static constexpr int largest_side = 31;

    SmallRectangle(const BUF32INFO &info, int x, int y, int width, int height);

    // Whether the rectangle is one.
    explicit operator bool() const { return height_ != 0; }

    // Of the rows of plain memory that stand for it, without gaps.
    size_t bytes() const { return row_bytes_ * size_t(height_); }

    // Between such rows and the record's own cells or, to read, its owner's. False without storage.
    bool write_to(Record &record, const std::byte *memory) const;
    bool read_from(const Record &record, std::byte *memory) const;

private:
    // Rows of a cell.
    struct CellRows {
        std::byte *first;
        size_t stride;
    };
    CellRows rows_in(const Record &owner) const;
    template <Direction direction>
    bool move(const Record &owner, std::byte *memory) const;

    int column_, band_;
    int x_in_cell_, y_in_cell_;
    size_t pixel_bytes_, row_bytes_;
    int height_ = 0;
};

// Has the processor fetch the pixels of an area inside the image, which are about to be read, while
// it does other things. Worth it where the area is not all of what lies there: what is read from
// end to end the processor finds by itself. False when there are no such pixels in memory.
bool prefetch_pixels(const Record &record, const Area &area);

// The other way round, into the cells of a buffer that has storage of its own. False without.
bool write_pixels(Record &record, const Area &area, const PlainRows &rows);

} // namespace q32::buffer
