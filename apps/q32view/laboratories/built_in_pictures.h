// Pictures for a laboratory that is given none: the library's own bars, and a round mask.
#pragma once

#include "apps/q32view/picture.h"

namespace apps::q32view {

// All hues, style: BAR_HUE_ACROSS ... Throws Failure.
Picture hue_field(Size size, int style);

// 8 bits: white in the middle, black outside the ellipse that fills the size. Throws Failure.
Picture round_mask(Size size);

// A picture's greys as a mask of 8 bits. Throws Failure.
Picture mask_of(const Picture &picture);

// A picture of 8 bits as one of 24, to be shown. Throws Failure.
Picture greys_of(const Picture &mask);

// Throws Failure.
Picture stretched(const Picture &picture, Size size);

} // namespace apps::q32view
