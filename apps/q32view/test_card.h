// The test card: the library's colour bars side by side.
#pragma once

#include "apps/pictures/areas.h"
#include "show_settings.h"

#include <windows.h>

namespace apps::q32view {

// Throws Failure when a bar cannot be drawn.
void draw_test_card(HDC dc, Size window, const ShowSettings &settings);

} // namespace apps::q32view
