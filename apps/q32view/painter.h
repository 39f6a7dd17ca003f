// Rows of a buffer on their way to a window, through one of the library's display runs.
#pragma once

#include "apps/pictures/areas.h"
#include "apps/pictures/buffer.h"
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

// Draws a rectangle of a buffer of 24 bits. place: its corner in the buffer; matrix: its corner in
// the picture as it is shown. The thresholds of dithering go by the latter, so that pieces fit
// together wherever they are drawn. Throws Failure.
void paint(HDC dc, const Area &area, HBUF32 buffer, Point place, Point matrix,
           const ShowSettings &settings);

// What a user of the display that the settings name sees of a picture of 24 bits, as another one,
// whatever display this program is on. The library must act for that display. Throws Failure.
Buffer seen_on(int device_type, HBUF32 buffer, Size size, const ShowSettings &settings);

} // namespace apps::q32view
