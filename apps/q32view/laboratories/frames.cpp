// Divisions that leave no pixel out: what is left over goes to the last column and row.
#include "frames.h"

#include <algorithm>
#include <cstdint>

namespace apps::q32view {
namespace {

// Begin and end of the n-th of so many parts of a length with gaps between them.
struct Stretch {
    int begin, end;
};

Stretch stretch(int begin, int length, int parts, int gap, int n) {
    const int64_t room = static_cast<int64_t>(std::max(length - (parts - 1) * gap, 0));
    const auto edge = [&](int k) { return begin + k * gap + static_cast<int>(room * k / parts); };
    return {edge(n), edge(n + 1) - gap};
}

int scaled(int position, int length, int target) {
    return length < 1 ? 0
                      : static_cast<int>(std::clamp<int64_t>(
                            static_cast<int64_t>(position) * target / length, 0, target - 1));
}

int begin_around(int middle, int length, int whole) {
    return std::clamp(middle - length / 2, 0, std::max(whole - length, 0));
}

} // namespace

Frame frame_of(const Area &room, int caption_height) {
    const int edge = std::min(room.top + caption_height, room.bottom);
    return {{room.left, room.top, room.right, edge}, {room.left, edge, room.right, room.bottom}};
}

std::vector<Area> grid_of(const Area &room, int columns, int rows, int gap) {
    std::vector<Area> areas;
    for (int row = 0; row < rows; ++row) {
        const Stretch down = stretch(room.top, room.height(), rows, gap, row);
        for (int column = 0; column < columns; ++column) {
            const Stretch across = stretch(room.left, room.width(), columns, gap, column);
            areas.push_back({across.begin, down.begin, across.end, down.end});
        }
    }
    return areas;
}

Area centred(Size size, const Area &room) {
    const int left = room.left + std::max((room.width() - size.width) / 2, 0);
    const int top = room.top + std::max((room.height() - size.height) / 2, 0);
    return area_of({left, top}, size);
}

Point pixel_at(Point at, const Area &shown, Size picture) {
    return {scaled(at.x - shown.left, shown.width(), picture.width),
            scaled(at.y - shown.top, shown.height(), picture.height)};
}

Area around(Point middle, Size size, Size picture) {
    const Size room = {std::min(size.width, picture.width), std::min(size.height, picture.height)};
    return area_of({begin_around(middle.x, room.width, picture.width),
                    begin_around(middle.y, room.height, picture.height)},
                   room);
}

} // namespace apps::q32view
