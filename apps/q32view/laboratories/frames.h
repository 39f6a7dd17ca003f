// Where pictures stand in a laboratory. Pure arithmetic.
#pragma once

#include "apps/pictures/areas.h"

#include <vector>

namespace apps::q32view {

// What stands under its caption: both are as wide as the frame.
struct Frame {
    Area caption;
    Area picture;
};

// A frame with its caption on top.
Frame frame_of(const Area &room, int caption_height);

// Splits a room into columns x rows rooms of one size, with gaps between them, row by row.
std::vector<Area> grid_of(const Area &room, int columns, int rows, int gap);

// In the middle of a room; where it is larger than that, it begins at the room's edge.
Area centred(Size size, const Area &room);

// The pixel of a picture, which is shown in an area, under a point: the nearest one for a point
// outside.
Point pixel_at(Point at, const Area &shown, Size picture);

// An area of a size around a point, moved into a picture as far as it has room there.
Area around(Point middle, Size size, Size picture);

} // namespace apps::q32view
