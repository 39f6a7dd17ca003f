// Displays of the device types that the library knows, as bitmaps that are painted on like them.
#pragma once

#include "arguments.h"
#include "image.h"

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

namespace apps::q32tool {

struct Display {
    std::string_view name; // "256-colours"
    std::string_view also; // another spelling
    int type;              // DISP32_
    int bits;              // per pixel of its bitmap
    int fixed_colours;     // that it has, whatever is shown; 0: through a palette, or any
};

// The value of an option that was given: a name or a number. Throws UsageError.
const Display &display_from(const Arguments &arguments, std::string_view option);

// Lines of numbers and names, for the help.
std::string display_list();

// What a picture is shown from, as far as the display's bitmap depends on it.
struct Shown {
    PixelFormat pixels;
    bool sixteen_greys; // of greys, instead of 128
};

// A memory context with a bitmap like the display's own. The library must have been told its type.
class DisplaySurface {
public:
    // Throws Failure when there is no memory for it, with the size.
    DisplaySurface(const Display &display, const Shown &shown, Size size);

    HDC dc() const { return dc_.get(); }
    // At least what was asked for. Columns beyond it have to be painted, too.
    int width() const { return width_; }

    // What a user sees: the colours of a row, 24 bits, byte 0 red.
    void read_row(int y, uint8_t *rgb) const;

private:
    struct DeleteContext {
        void operator()(HDC dc) const { DeleteDC(dc); }
    };
    struct DeleteBitmap {
        void operator()(HBITMAP bitmap) const { DeleteObject(bitmap); }
    };
    using Context = std::unique_ptr<std::remove_pointer_t<HDC>, DeleteContext>;
    using Bitmap = std::unique_ptr<std::remove_pointer_t<HBITMAP>, DeleteBitmap>;

    RGBQUAD colour_at(const uint8_t *row, int x) const;

    int width_;
    int height_;
    int bits_;
    bool planes_;
    std::vector<RGBQUAD> colours_; // of an index, up to 8 bits
    Bitmap bitmap_;                // outlives the context that has selected it
    Context dc_;
    const uint8_t *pixels_ = nullptr;
    size_t row_bytes_;
};

} // namespace apps::q32tool
