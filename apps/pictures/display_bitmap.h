// Displays of the device types that the library knows, as bitmaps: what a display run draws on one
// is what a user of such a display sees.
#pragma once

#include "areas.h"
#include "owned.h"

#include <windows.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace apps {

struct DisplayType {
    std::string_view name;
    int bits;          // per pixel of its bitmap
    int fixed_colours; // that it has, whatever is shown; 0: through a palette, or any
};

// By the DISP32_ values.
inline constexpr std::array<DisplayType, 6> display_types = {{
    {"monochrome", 1, 2},
    {"8-colours", 4, 8},
    {"16-colours", 4, 16},
    {"256-colours", 8, 0},
    {"true-colour", 24, 0},
    {"high-colour", 16, 0},
}};

// What is shown, as far as the bitmap depends on it.
struct ShownPixels {
    int depth;          // bits per pixel; 8 bits are greys, while indices of a palette count as 24
    bool sixteen_greys; // instead of 128
};

// A memory context with a bitmap like the display's own.
class DisplayBitmap {
public:
    // type: a DISP32_ value, of which the library must have been told. See is_made.
    DisplayBitmap(int type, const ShownPixels &shown, Size size);

    bool is_made() const { return pixels_ != nullptr; } // else there is no memory for it
    HDC dc() const { return dc_.get(); }
    // At least what was asked for. Columns beyond it have to be drawn, too.
    int width() const { return width_; }

    // After the last row was drawn, and before what was drawn is read or shown.
    void finish();
    // A row as the bitmap holds it, and its colours: 24 bits, byte 0 red.
    const uint8_t *row(int y) const { return pixels_ + row_bytes_ * static_cast<size_t>(y); }
    void read_row(int y, uint8_t *rgb) const;
    // On a device context, as large as was asked for.
    void show(HDC dc, Point at) const;

private:
    void make_bitmap();
    void gather_planes();
    RGBQUAD colour_at(const uint8_t *row, size_t x) const;

    Size size_;
    int width_;
    size_t bits_; // per pixel
    bool planes_; // rows hold four planes, one behind the other
    size_t row_bytes_;
    std::vector<RGBQUAD> colours_;        // of an index, up to 8 bits
    Owned<DeleteObject, HBITMAP> bitmap_; // outlives the context that has selected it
    Owned<DeleteDC, HDC> dc_;
    uint8_t *pixels_ = nullptr; // the top row first
};

} // namespace apps
