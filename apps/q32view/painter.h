// Rows of a buffer on their way to a window, through one of the library's display runs.
#pragma once

#include "apps/pictures/areas.h"
#include "show_settings.h"

#include <q32base/types.h>

#include <windows.h>

#include <functional>

namespace apps::q32view {

// Draws an area of a window as it looks on the display that the library acts for: in the window, or
// on a bitmap like that display's, which then goes to the window. draw(dc, area) gets where the
// area is to be drawn, with further columns perhaps. depth: bits of the pixels that are shown, 24
// for indices of a palette. Throws Failure.
void draw_acted(HDC dc, const Area &area, int depth, const ShowSettings &settings,
                const std::function<void(HDC, const Area &)> &draw);

// Pixels to be drawn, from a place in their buffers on.
struct Paint {
    HBUF32 buffer;  // 24 bits; with an opacity, colours multiplied by it
    HBUF32 opacity; // 8 bits; 0: opaque everywhere, else a chequerboard shines through
    Point place;
    Point matrix; // where this place lies in the picture as it is shown
};

// Draws a rectangle of a picture. The thresholds of dithering, and the chequerboard's squares, go
// by the place in the shown picture, so that pieces fit together wherever they are drawn. Throws
// Failure.
void paint(HDC dc, const Area &area, const Paint &what, const ShowSettings &settings);

} // namespace apps::q32view
