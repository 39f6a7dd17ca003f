// Making, rewriting and deleting the library's own palettes.
#include "display/library_palettes.h"

#include "display/palettes.h"

#include <utility>

namespace q32::display {
namespace {

constinit LibraryPalettes palettes;

// A null palette is one that could not be had: the old one stays.
bool keep(HPALETTE &place, HPALETTE palette) {
    if (palette == nullptr)
        return false;
    const HPALETTE before = std::exchange(place, palette);
    if (before != nullptr && before != palette)
        DeleteObject(before);
    return true;
}

// Those of screens of up to 256 colours stay the same ones and get new colours.
bool make_palettes_of_few_colours() {
    const bool cube = keep(palettes.display, make_colour_palette(palettes.display, DISP32_CUBE_666,
                                                                 256, ScreenCorrection::gamma));
    const bool coarse =
        keep(palettes.grey_16, make_grey_palette(palettes.grey_16, 16, ScreenCorrection::gamma));
    const bool fine =
        keep(palettes.grey_128, make_grey_palette(palettes.grey_128, 128, ScreenCorrection::gamma));
    return cube && coarse && fine;
}

// That of the others is a new one each time.
bool make_palette_of_greys(int levels) {
    return keep(palettes.grey, make_grey_palette(nullptr, levels, ScreenCorrection::gamma));
}

} // namespace

const LibraryPalettes &library_palettes() {
    return palettes;
}

bool make_library_palettes(DeviceType type) {
    switch (type) {
    case DeviceType::true_colour:
        return make_palette_of_greys(256);
    case DeviceType::high_colour:
        return make_palette_of_greys(128);
    default:
        return make_palettes_of_few_colours();
    }
}

void delete_library_palettes() {
    for (HPALETTE *const palette :
         {&palettes.display, &palettes.grey_16, &palettes.grey_128, &palettes.grey})
        if (const HPALETTE before = std::exchange(*palette, nullptr); before != nullptr)
            DeleteObject(before);
}

} // namespace q32::display
