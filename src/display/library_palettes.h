// The library's own palettes: which there are follows from the device type.
#pragma once

#include "display/device.h"

namespace q32::display {

// Null are those that the device type does not need, or that could not be had.
struct LibraryPalettes {
    HPALETTE display = nullptr; // a cube of 6 x 6 x 6; up to 256 colours
    HPALETTE grey_16 = nullptr;
    HPALETTE grey_128 = nullptr;
    HPALETTE grey = nullptr; // true colour: 256 levels, high colour: 128
};

const LibraryPalettes &library_palettes();

// Makes those of this type, corrected for the gamma; those that are there already are rewritten or
// replaced. False when one cannot be had: it is then as it was.
bool make_library_palettes(DeviceType type);

void delete_library_palettes();

} // namespace q32::display
