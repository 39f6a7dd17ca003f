// Colours multiplied by their opacity, for arithmetic in which transparent parts must not count.
#pragma once

#include "picture.h"

namespace apps::q32tool {

// The colours of a picture with opacity, of 8 or 24 bits, multiplied by it, as a new image. Throws
// Failure.
Image multiplied_colours(const Picture &picture);

// The way back, in place: colours are divided by the opacity; where nothing is, they are black.
// Throws Failure.
void divide_colours(Picture &picture);

} // namespace apps::q32tool
