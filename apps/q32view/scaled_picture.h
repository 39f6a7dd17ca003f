// A picture at the size in which it is shown: reduced, averaged as a whole; enlarged, by the
// library's resampler in tiles that are made when they come into view.
#pragma once

#include "apps/pictures/areas.h"
#include "picture.h"

#include <functional>
#include <list>
#include <map>
#include <utility>

namespace apps::q32view {

class ScaledPicture {
public:
    // Makes what can be made in advance. Throws Failure, Cancelled; what was made before stays
    // then.
    void prepare(const Picture &picture, Size shown, StatusBar &status);
    bool is_prepared_for(const Picture &picture, Size shown) const;
    void forget();

    // A rectangle of the picture as it is shown, and where its pixels are.
    struct Piece {
        Area area;      // in the shown picture
        HBUF32 buffer;  // 24 bits
        HBUF32 opacity; // 8 bits, or 0: opaque everywhere
        Point place;    // of the area's corner in the buffers
    };
    // Hands over the pieces that make up an area of the shown picture. Throws Failure.
    void for_each_piece(const Area &area, const std::function<void(const Piece &)> &use);

private:
    using Index = std::pair<int, int>; // column and row of a tile
    struct Tile {
        Buffer buffer, opacity;
        std::list<Index>::iterator last_used;
    };
    const Tile &tile(Index index);
    Tile make_tile(Index index) const;

    const Picture *picture_ = nullptr;
    Size shown_;
    Buffer reduced_; // empty at the picture's own size, and enlarged
    Buffer reduced_opacity_;
    bool enlarged_ = false;
    std::map<Index, Tile> tiles_;
    std::list<Index> used_; // the tile that was used last comes first
};

} // namespace apps::q32view
