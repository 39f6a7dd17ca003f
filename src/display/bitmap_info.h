// The one bitmap description of the process, in which everything that is drawn is described to the
// system.
#pragma once

#include <windows.h>

#include <array>

namespace q32::display {

struct BitmapInfo {
    // Places in the selected palette, or colours. Whoever writes colours puts the places back.
    union Table {
        std::array<WORD, 256> places;
        std::array<RGBQUAD, 256> colours;
    };

    BITMAPINFOHEADER header;
    Table table;

    const BITMAPINFO *info() const;
    void put_places_back();
};
static_assert(sizeof(BitmapInfo) == 40 + 256 * 4);

// Its size and plane count are set, and its table has the places 0 to 255.
BitmapInfo &shared_bitmap_info();

} // namespace q32::display
