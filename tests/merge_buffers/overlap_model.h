// The buffer forms within one memory: pieces one after the other, each row by row and pixel by
// pixel, in place.
#pragma once

#include "tests/merge_buffers/placement_model.h"

namespace q32::test::model {

// One piece: what its rows hold is what the pieces before it have left there. The buffer forms know
// no missing mask: it is full.
inline void merge_piece_in_order(const Call &call, const Rows &result, const Rows &mask,
                                 const Rows &overlay, int64_t width, int64_t height) {
    const Bytes full(size_t(width), 255);
    merge_rows(result, mask.at ? RowsToRead{mask.at, mask.stride} : RowsToRead{full.data(), 0},
               {overlay.at, overlay.stride}, size_t(width), size_t(height), call);
}

inline Rows rows_from(Picture &picture, int64_t x, int64_t y) {
    return {pixel_of(picture, x, y), std::ptrdiff_t(picture.image.row_bytes())};
}

// From buffer to buffer; any two pictures may be one.
inline void merge_pictures_in_order(Picture &destination, Picture *mask, Picture &overlay,
                                    const std::vector<Piece> &pieces, const Call &call) {
    for (const Piece &piece : pieces)
        merge_piece_in_order(call, rows_from(destination, piece.x, piece.y),
                             mask ? rows_from(*mask, piece.left, piece.top) : Rows{},
                             rows_from(overlay, piece.left, piece.top), piece.width, piece.height);
}

// An image in plain memory.
struct Plain {
    uint8_t *at;
    int64_t width, bytes;

    Rows from(int64_t x, int64_t y) const {
        return {at + (y * width + x) * bytes, std::ptrdiff_t(width * bytes)};
    }
};

// A buffer's storage, cell by cell.
struct Storage {
    uint8_t *at;
    Geometry geometry;

    Rows from(int64_t x, int64_t y) const {
        const int64_t cell =
            y / geometry.cell_height() * geometry.columns() + x / geometry.cell_width();
        return {at + geometry.pixel_offset(x, y), std::ptrdiff_t(geometry.row_bytes_of(cell))};
    }
};

// From buffer to memory, which may lie in a buffer's storage. A mask has the overlay's cells.
inline void merge_storage_in_order(const Plain &image, const Storage *mask, const Storage &overlay,
                                   const Placement &place, const Call &call) {
    for (const Piece &piece : pieces_to_memory(place, overlay.geometry))
        if (piece.width > 0)
            merge_piece_in_order(call, image.from(piece.x, piece.y),
                                 mask ? mask->from(piece.left, piece.top) : Rows{},
                                 overlay.from(piece.left, piece.top), piece.width, piece.height);
}

} // namespace q32::test::model
