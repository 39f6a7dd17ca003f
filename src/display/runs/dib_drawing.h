// Strips drawn as device-independent bitmaps.
#pragma once

#include "display/runs/band.h"
#include "display/runs/strip.h"

namespace q32::display {

// Indices of a palette; null: of the one that is selected. False when the graphics interface
// refuses.
bool draw_indices(const Band &band, const Strip &strip, HPALETTE palette, int force_background);

// 24-bit pixels in the order BGR.
bool draw_colours(const Band &band, const Strip &strip);

} // namespace q32::display
