// What shines through transparent parts: squares of two greys, as large on the screen at every
// zoom.
#pragma once

#include "apps/pictures/areas.h"

#include <cstdint>

namespace apps::q32view {

// pixels: of 24 bits, multiplied by their opacity, packed; place: of the first one in the picture
// as it is shown.
void lay_over_chequerboard(uint8_t *pixels, const uint8_t *opacity, Size size, Point place);

} // namespace apps::q32view
