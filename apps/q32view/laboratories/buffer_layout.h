// Where everything stands in the buffer laboratory's area, in numbers.
#pragma once

#include "apps/pictures/areas.h"

#include <vector>

namespace apps::q32view {

// Lengths are given for 96 dots an inch, and are for so many dots.
constexpr int for_dots(int length, int dots) {
    return (length * dots + 48) / 96;
}

struct BufferLayout {
    Area legend;  // with the counts of cells, above all else
    Area buffers; // below it, at the left
    Area curve;   // below these
    Area script;  // at the right
    Area reports; // below it
};

BufferLayout lay_out_buffers(Size room, int dots);

// The places of so many buffers, in rows of three, at least two of them.
std::vector<Area> tiles_of(const Area &buffers, int count, int dots);

// The words above a tile's cells.
constexpr int lines_of_tile_words = 4;
Area words_of(const Area &tile, int dots);

// The cells of a buffer, all drawn alike: below the words of its tile.
class CellGrid {
public:
    CellGrid(const Area &tile, int columns, int rows, int dots);

    // By index. Those of a buffer of very many cells may share a pixel, or have none.
    Area cell(int index) const;
    Area all() const { return area_of(corner_, extent_); }
    bool has_letters() const { return has_letters_; }

private:
    Point corner_;
    Size extent_;
    int columns_, rows_;
    bool has_letters_;
};

} // namespace apps::q32view
