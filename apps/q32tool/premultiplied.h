// Colours multiplied by their opacity, for arithmetic in which transparent parts must not count.
#pragma once

#include "picture.h"

#include <algorithm>
#include <cstdint>

namespace apps::q32tool {

constexpr uint8_t multiplied(uint32_t colour, uint32_t opacity) {
    return static_cast<uint8_t>((colour * opacity + 127) / 255);
}

// Interpolation may have made a colour brighter than its opacity allows.
constexpr uint8_t divided(uint32_t colour, uint32_t opacity) {
    return opacity == 0 ? uint8_t{0}
                        : static_cast<uint8_t>(
                              std::min<uint32_t>((colour * 255 + opacity / 2) / opacity, 255));
}

// The colours of a picture with opacity, of 8 or 24 bits, multiplied by it, as a new image. Throws
// Failure.
Image multiplied_colours(const Picture &picture);

// The way back, in place: colours are divided by the opacity; where nothing is, they are black.
// Throws Failure.
void divide_colours(Picture &picture);

} // namespace apps::q32tool
