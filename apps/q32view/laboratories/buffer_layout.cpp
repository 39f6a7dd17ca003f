// Rectangles out of rectangles.
#include "buffer_layout.h"

#include <algorithm>

namespace apps::q32view {
namespace {

constexpr int space = 8;
constexpr int legend_height = 26;
constexpr int script_width = 226;
constexpr int lower_height = 140;
constexpr int columns_of_tiles = 3, least_rows_of_tiles = 2;
constexpr int line_height = 14;
constexpr int largest_cell = 24, least_with_letter = 12;

} // namespace

BufferLayout lay_out_buffers(Size room, int dots) {
    const auto length = [dots](int value) { return for_dots(value, dots); };
    const int top = length(legend_height) + length(space);
    const int lower = std::max(room.height - length(lower_height), top);
    const int right = std::max(room.width - length(script_width), 0);
    const int left_end = std::max(right - length(space), 0);
    const int upper_end = std::max(lower - length(space), top);
    return {.legend = {0, 0, room.width, length(legend_height)},
            .buffers = {0, top, left_end, upper_end},
            .curve = {0, lower, left_end, room.height},
            .script = {right, top, room.width, upper_end},
            .reports = {right, lower, room.width, room.height}};
}

std::vector<Area> tiles_of(const Area &buffers, int count, int dots) {
    const int gap = for_dots(space, dots);
    const int rows =
        std::max((count + columns_of_tiles - 1) / columns_of_tiles, least_rows_of_tiles);
    const int width = (buffers.width() - gap * (columns_of_tiles + 1)) / columns_of_tiles;
    const int height = (buffers.height() - gap * (rows + 1)) / rows;
    std::vector<Area> tiles;
    for (int i = 0; i < count; ++i)
        tiles.push_back(area_of(buffers.left + gap + i % columns_of_tiles * (width + gap),
                                buffers.top + gap + i / columns_of_tiles * (height + gap),
                                std::max(width, 0), std::max(height, 0)));
    return tiles;
}

Area words_of(const Area &tile, int dots) {
    return area_of(tile.left, tile.top, tile.width(),
                   lines_of_tile_words * for_dots(line_height, dots));
}

CellGrid::CellGrid(const Area &tile, int columns, int rows, int dots)
    : columns_(std::max(columns, 1)), rows_(std::max(rows, 1)) {
    const Area words = words_of(tile, dots);
    const int top = words.bottom + for_dots(space, dots) / 2;
    const Size room = {tile.width(), std::max(tile.bottom - top, 0)};
    const int side =
        std::min({room.width / columns_, room.height / rows_, for_dots(largest_cell, dots)});
    corner_ = {tile.left, top};
    extent_ = side > 0 ? Size{side * columns_, side * rows_}
                       : Size{std::min(room.width, columns_), std::min(room.height, rows_)};
    has_letters_ = side >= for_dots(least_with_letter, dots);
}

Area CellGrid::cell(int index) const {
    const int column = index % columns_, row = index / columns_;
    const auto part = [](int extent, int at, int count) {
        return static_cast<int>(static_cast<int64_t>(extent) * at / count);
    };
    return {corner_.x + part(extent_.width, column, columns_),
            corner_.y + part(extent_.height, row, rows_),
            corner_.x + part(extent_.width, column + 1, columns_),
            corner_.y + part(extent_.height, row + 1, rows_)};
}

} // namespace apps::q32view
