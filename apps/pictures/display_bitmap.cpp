// The bitmaps' colours, planes among their rows, and the way back to colours.
#include "display_bitmap.h"

#include <q32base/display.h>

#include <algorithm>
#include <limits>

namespace apps {
namespace {

// For displays of 16 colours the library gives SetBitmapBits rows of four planes, one behind the
// other, for a bitmap that is compatible with the context. No context that a program can make has
// planes. But one that holds a bitmap section of 4 bits makes compatible bitmaps of 4 bits with the
// same colours: these take the bytes as they are, and BitBlt copies them as they are into the
// section, whose rows then hold the planes. That needs rows without padding in both: they have
// width / 2 bytes when the width is a multiple of 16.
constexpr int plane_columns = 16;
constexpr size_t planes_of_a_pixel = 4;

HPALETTE make_palette(const DisplayType &display, const ShownPixels &shown) {
    constexpr int with_gamma = 1, without_gamma = 0, whole_palette = 256;
    if (display.fixed_colours != 0)
        return disp32CreateColorPalette(nullptr, 0, display.fixed_colours, without_gamma);
    if (shown.depth == 8)
        return disp32CreateGrayPalette(nullptr, shown.sixteen_greys ? 16 : 128, with_gamma);
    return disp32CreateColorPalette(nullptr, DISP32_CUBE_666, whole_palette, with_gamma);
}

// The colours that the display has, or that the library's palette gives it. None above 8 bits.
std::vector<RGBQUAD> colours_of(const DisplayType &display, const ShownPixels &shown) {
    if (display.bits > 8)
        return {};
    std::array<PALETTEENTRY, 256> entries = {};
    const Owned<DeleteObject, HPALETTE> palette(make_palette(display, shown));
    GetPaletteEntries(palette.get(), 0, entries.size(), entries.data());
    std::vector<RGBQUAD> colours(size_t{1} << display.bits);
    std::transform(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(colours.size()),
                   colours.begin(), [](const PALETTEENTRY &entry) {
                       return RGBQUAD{entry.peBlue, entry.peGreen, entry.peRed, 0};
                   });
    return colours;
}

// A field of 5 bits as a display shows it.
uint8_t widened(unsigned field) {
    return static_cast<uint8_t>(field << 3 | field >> 2);
}

} // namespace

DisplayBitmap::DisplayBitmap(int type, const ShownPixels &shown, Size size)
    : size_(size), width_(size.width),
      bits_(static_cast<size_t>(display_types[static_cast<size_t>(type)].bits)),
      planes_(type == DISP32_SIXTEEN_COLOURS && shown.depth > 8),
      colours_(colours_of(display_types[static_cast<size_t>(type)], shown)),
      dc_(CreateCompatibleDC(nullptr)) {
    if (planes_)
        width_ = (width_ + plane_columns - 1) / plane_columns * plane_columns;
    row_bytes_ = (static_cast<size_t>(width_) * bits_ + 31) / 32 * 4;
    if (row_bytes_ <= std::numeric_limits<int>::max() / static_cast<size_t>(size.height))
        make_bitmap();
}

void DisplayBitmap::make_bitmap() {
    struct {
        BITMAPINFOHEADER header;
        RGBQUAD colours[256];
    } description = {};
    description.header = {.biSize = sizeof description.header,
                          .biWidth = width_,
                          .biHeight = -size_.height,
                          .biPlanes = 1,
                          .biBitCount = static_cast<WORD>(bits_),
                          .biCompression = BI_RGB};
    std::copy(colours_.begin(), colours_.end(), description.colours);
    void *pixels = nullptr;
    bitmap_ =
        decltype(bitmap_)(CreateDIBSection(dc_.get(), reinterpret_cast<BITMAPINFO *>(&description),
                                           DIB_RGB_COLORS, &pixels, nullptr, 0));
    if (dc_ && bitmap_ && SelectObject(dc_.get(), bitmap_.get()) != nullptr)
        pixels_ = static_cast<uint8_t *>(pixels);
}

void DisplayBitmap::finish() {
    GdiFlush();
    if (planes_)
        gather_planes();
}

// Plane p holds bit p of each pixel's index: red, green, blue and intensity.
void DisplayBitmap::gather_planes() {
    const size_t plane_bytes = row_bytes_ / planes_of_a_pixel;
    std::vector<uint8_t> row(row_bytes_);
    for (int y = 0; y < size_.height; ++y) {
        uint8_t *const planes = pixels_ + row_bytes_ * static_cast<size_t>(y);
        std::fill(row.begin(), row.end(), uint8_t{0});
        for (size_t x = 0; x < static_cast<size_t>(width_); ++x)
            for (size_t plane = 0; plane < planes_of_a_pixel; ++plane) {
                const int bit = planes[plane * plane_bytes + x / 8] >> (7 - x % 8) & 1;
                row[x / 2] |= static_cast<uint8_t>(bit << plane << (x % 2 == 0 ? 4 : 0));
            }
        std::copy(row.begin(), row.end(), planes);
    }
}

RGBQUAD DisplayBitmap::colour_at(const uint8_t *row, size_t x) const {
    const uint8_t *pixel = row + x * bits_ / 8;
    if (bits_ == 24)
        return {pixel[0], pixel[1], pixel[2], 0};
    if (bits_ == 16) {
        const unsigned word = pixel[0] | pixel[1] << 8;
        return {widened(word & 31), widened(word >> 5 & 31), widened(word >> 10 & 31), 0};
    }
    const size_t bits_behind = 8 - bits_ - x * bits_ % 8;
    return colours_[*pixel >> bits_behind & (colours_.size() - 1)];
}

void DisplayBitmap::read_row(int y, uint8_t *rgb) const {
    for (size_t x = 0; x < static_cast<size_t>(width_); ++x, rgb += 3) {
        const RGBQUAD colour = colour_at(row(y), x);
        rgb[0] = colour.rgbRed;
        rgb[1] = colour.rgbGreen;
        rgb[2] = colour.rgbBlue;
    }
}

void DisplayBitmap::show(HDC dc, Point at) const {
    BitBlt(dc, at.x, at.y, size_.width, size_.height, dc_.get(), 0, 0, SRCCOPY);
}

} // namespace apps
