// A display of 2, 8 or 16 colours that the library acts for, as a bitmap of that kind: what a
// display run draws there looks in the window as it would on such a display. Displays of more
// colours need none: the window shows what is drawn on them as it is.
#pragma once

#include "apps/pictures/areas.h"
#include "show_settings.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace apps::q32view {

class ActedDisplay {
public:
    // Whether the library acts for such a display and the window's is another one.
    static bool is_needed(const ShowSettings &settings);

    // depth: bits of the pixels that will be shown there. Throws Failure without memory.
    ActedDisplay(int depth, Size size);
    ~ActedDisplay();
    ActedDisplay(const ActedDisplay &) = delete;
    ActedDisplay &operator=(const ActedDisplay &) = delete;

    HDC dc() const { return dc_; }
    // At least what was asked for. Columns beyond it have to be drawn, too.
    int width() const { return width_; }

    // Draws what was drawn here into the window, as large as was asked for.
    void show(HDC window, Point at);

private:
    void make_bitmap();
    void gather_planes();

    Size size_;
    int width_;
    int bits_;    // of its bitmap's pixels
    bool planes_; // rows hold four planes, one behind the other
    size_t row_bytes_;
    HDC dc_;
    HBITMAP bitmap_ = nullptr;
    HGDIOBJ before_ = nullptr;
    uint8_t *pixels_ = nullptr;
};

} // namespace apps::q32view
