// Where the buffer forms put what: the clipping of a request, the pieces into which cells cut it,
// and the merge of whole pictures. All arithmetic is 64 bits wide.
#pragma once

#include "tests/models/merging.h"
#include "tests/models/picture.h"

#include <q32base/merge.h>

namespace q32::test::model {

// What the callers of the buffer forms give.
struct Request {
    int x, y;
    RECT rectangle;
    int mode = MERGE_NORMAL;
    int transparency = 0;
};

struct Placement {
    enum Verdict { refused, nothing_left, placed };
    Verdict verdict = refused;
    int64_t left = 0, top = 0;     // of the overlay: what comes to (x, y)
    int64_t right = 0, bottom = 0; // of the overlay, not cut to the destination
    int64_t x = 0, y = 0;          // in the destination
    int64_t width = 0, height = 0; // cut to the destination
};

inline Placement place(const Request &request, int64_t overlay_width, int64_t overlay_height,
                       int64_t width, int64_t height) {
    Placement place;
    const RECT &asked = request.rectangle;
    place.left = std::max<int64_t>(asked.left, 0);
    place.top = std::max<int64_t>(asked.top, 0);
    place.right = std::min<int64_t>(asked.right, overlay_width);
    place.bottom = std::min<int64_t>(asked.bottom, overlay_height);
    if (place.left >= place.right || place.top >= place.bottom)
        return place;
    place.verdict = Placement::nothing_left;
    place.x = request.x + (place.left - asked.left);
    place.y = request.y + (place.top - asked.top);
    if (place.x < 0) {
        place.left -= place.x;
        place.x = 0;
    }
    if (place.y < 0) {
        place.top -= place.y;
        place.y = 0;
    }
    place.width = std::min(place.right - place.left, width - place.x);
    place.height = std::min(place.bottom - place.top, height - place.y);
    if (place.width > 0 && place.height > 0)
        place.verdict = Placement::placed;
    return place;
}

inline uint8_t *pixel_of(Picture &picture, int64_t x, int64_t y) {
    return picture.image.row(size_t(y)) + picture.bit_of(x) / 8;
}
inline const uint8_t *pixel_of(const Picture &picture, int64_t x, int64_t y) {
    return picture.image.row(size_t(y)) + picture.bit_of(x) / 8;
}

// The buffer forms know no missing mask: it is full.
inline void merge_pixel(const Call &call, uint8_t *base, const uint8_t *overlay, uint8_t mask) {
    merge_pixel_of_rectangle(base, call, &mask, overlay);
}

// Merges the whole rectangle at once. The overlay may be the destination itself where no pixel is
// read after it has been written.
inline void merge_pictures(Picture &destination, const Picture *mask, const Picture &overlay,
                           const Placement &place, const Call &call) {
    const Picture from = overlay;
    for (int64_t j = 0; j < place.height; ++j)
        for (int64_t i = 0; i < place.width; ++i)
            merge_pixel(call, pixel_of(destination, place.x + i, place.y + j),
                        pixel_of(from, place.left + i, place.top + j),
                        mask ? *pixel_of(*mask, place.left + i, place.top + j) : 255);
}

// --- pieces ----------------------------------------------------------------------------------

// A part of the request that lies in one cell of each buffer.
struct Piece {
    int destination_cell, overlay_cell;
    int64_t x, y;          // in the destination
    int64_t left, top;     // in the overlay
    int64_t width, height; // 0: the cell lies outside the destination
};

struct Span {
    int64_t begin, end;
    int64_t length() const { return std::max<int64_t>(end - begin, 0); }
};

inline Span meet(const Span &a, const Span &b) {
    return {std::max(a.begin, b.begin), std::min(a.end, b.end)};
}

// Calls body(cell, columns, rows) for the cells that columns and rows cover, band by band, with
// what each holds of them.
template <class Body>
void for_each_cell(const Geometry &geometry, const Span &columns, const Span &rows, Body body) {
    const int64_t wide = geometry.cell_width(), high = geometry.cell_height();
    for (int64_t band = rows.begin / high; band <= (rows.end - 1) / high; ++band)
        for (int64_t column = columns.begin / wide; column <= (columns.end - 1) / wide; ++column)
            body(int(band * geometry.columns() + column),
                 meet({column * wide, (column + 1) * wide}, columns),
                 meet({band * high, (band + 1) * high}, rows));
}

// From buffer to buffer: cells of the destination, and within each the cells of the overlay.
inline std::vector<Piece> pieces_between(const Placement &place, const Geometry &destination,
                                         const Geometry &overlay) {
    std::vector<Piece> pieces;
    for_each_cell(destination, {place.x, place.x + place.width}, {place.y, place.y + place.height},
                  [&](int destination_cell, const Span &columns, const Span &rows) {
                      const int64_t dx = place.left - place.x, dy = place.top - place.y;
                      for_each_cell(overlay, {columns.begin + dx, columns.end + dx},
                                    {rows.begin + dy, rows.end + dy},
                                    [&](int cell, const Span &across, const Span &down) {
                                        pieces.push_back({destination_cell, cell, across.begin - dx,
                                                          down.begin - dy, across.begin, down.begin,
                                                          across.length(), down.length()});
                                    });
                  });
    return pieces;
}

// From buffer to memory: cells of the rectangle, those outside the destination too.
inline std::vector<Piece> pieces_to_memory(const Placement &place, const Geometry &overlay) {
    std::vector<Piece> pieces;
    for_each_cell(overlay, {place.left, place.right}, {place.top, place.bottom},
                  [&](int cell, const Span &columns, const Span &rows) {
                      const Span across = meet(columns, {place.left, place.left + place.width});
                      const Span down = meet(rows, {place.top, place.top + place.height});
                      const bool empty = across.length() == 0 || down.length() == 0;
                      pieces.push_back({-1, cell, across.begin - place.left + place.x,
                                        down.begin - place.top + place.y, across.begin, down.begin,
                                        empty ? 0 : across.length(), empty ? 0 : down.length()});
                  });
    return pieces;
}

// The part of a request that one piece is.
inline Placement placement_of(const Piece &piece) {
    return {Placement::placed,
            piece.left,
            piece.top,
            piece.left + piece.width,
            piece.top + piece.height,
            piece.x,
            piece.y,
            piece.width,
            piece.height};
}

} // namespace q32::test::model
