// Rows of a buffer on their way to a window, through one of the library's display runs.
#pragma once

#include "apps/pictures/areas.h"
#include "show_settings.h"

#include <q32base/types.h>

#include <windows.h>

namespace apps::q32view {

// Draws a rectangle of a buffer of 24 bits. place: its corner in the buffer; matrix: its corner in
// the picture as it is shown. The thresholds of dithering go by the latter, so that pieces fit
// together wherever they are drawn. Throws Failure.
void paint(HDC dc, const Area &area, HBUF32 buffer, Point place, Point matrix,
           const ShowSettings &settings);

} // namespace apps::q32view
