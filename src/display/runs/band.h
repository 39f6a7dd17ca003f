// Where on a device the rows go that are drawn together.
#pragma once

#include <windows.h>

namespace q32::display {

struct Band {
    HDC dc;
    int left, top, width, rows;
};

} // namespace q32::display
