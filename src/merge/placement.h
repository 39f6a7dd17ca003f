// Where a rectangle of an overlay goes in a destination, and what is left of it there: rectangles
// only, no pixels and no buffers.
#pragma once

#include "geometry/area.h"

namespace q32::merge {

enum class Outcome {
    misses_overlay, // a failure
    nothing_left,   // a success that changes nothing
    placed,
};

struct Placement {
    Outcome outcome;
    Area overlay;     // in coordinates of the overlay
    Area destination; // where its top left corner goes; as large, until it is cut
};

// Cuts a rectangle to the overlay's image and moves it to where the corner that the caller gave
// goes to (x, y). What would lie left of the destination or above it is cut off.
Placement place(const Area &rectangle, const Area &overlay, int x, int y);

// Cuts the destination's side of what has been placed to the destination's image. The overlay's
// right and bottom stay uncut.
Placement cut(Placement placement, const Area &destination);

// What lands in the destination, in coordinates of the overlay.
Area landing_part(const Placement &placement);

} // namespace q32::merge
