// What a program asks for when it opens a run.
#pragma once

#include "geometry/system_rect.h"

#include <cstdint>

namespace q32::display {

struct Opening {
    HDC dc;
    int depth;
    RECT place;
    HPALETTE palette; // null: none
    int palette_option;
    int force_background;
    int origin_x, origin_y; // of the dither matrix, at the place's left and top

    // Any two corners fit. 0 where there is nothing to draw.
    std::uint32_t width() const { return is_empty() ? 0 : distance(place.left, place.right); }
    std::uint32_t height() const { return is_empty() ? 0 : distance(place.top, place.bottom); }

private:
    bool is_empty() const { return as_area(place).is_empty(); }
    static std::uint32_t distance(LONG from, LONG to) {
        return std::uint32_t(to) - std::uint32_t(from);
    }
};

} // namespace q32::display
