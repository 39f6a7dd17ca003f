// Bitmaps with the colours of few-coloured displays, and planes among them.
#include "acted_display.h"

#include "apps/pictures/exceptions.h"

#include <q32base/display.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace apps::q32view {
namespace {

// For displays of 16 colours the library writes four planes a row, one behind the other, into a
// bitmap that is compatible with the context. With a section of 4 bits in the context that bitmap
// takes those bytes as they are, and BitBlt copies them as they are. The rows of neither are padded
// when the width is a multiple of 16.
constexpr int plane_columns = 16;
constexpr int planes_of_a_pixel = 4;

int acted_type() {
    DispDevInfo info = {};
    disp32GetDevInfo(&info);
    return info.type;
}

int colours_of(int type) {
    return type == DISP32_MONOCHROME ? 2 : type == DISP32_EIGHT_COLOURS ? 8 : 16;
}

void read_colours(int count, RGBQUAD *colours) {
    PALETTEENTRY entries[16] = {};
    const HPALETTE palette = disp32CreateColorPalette(nullptr, 0, count, FALSE);
    GetPaletteEntries(palette, 0, static_cast<UINT>(count), entries);
    DeleteObject(palette);
    for (int i = 0; i < count; ++i)
        colours[i] = {entries[i].peBlue, entries[i].peGreen, entries[i].peRed, 0};
}

} // namespace

bool ActedDisplay::is_needed(const ShowSettings &settings) {
    if (!settings.device_type || *settings.device_type > DISP32_SIXTEEN_COLOURS)
        return false;
    const HDC screen = GetDC(nullptr);
    const int bits = GetDeviceCaps(screen, BITSPIXEL) * GetDeviceCaps(screen, PLANES);
    ReleaseDC(nullptr, screen);
    return bits > 4;
}

ActedDisplay::ActedDisplay(int depth, Size size)
    : size_(size), width_(size.width), bits_(acted_type() == DISP32_MONOCHROME ? 1 : 4),
      planes_(acted_type() == DISP32_SIXTEEN_COLOURS && depth > 8),
      dc_(CreateCompatibleDC(nullptr)) {
    if (planes_)
        width_ = (width_ + plane_columns - 1) / plane_columns * plane_columns;
    row_bytes_ = (static_cast<size_t>(width_) * static_cast<size_t>(bits_) + 31) / 32 * 4;
    make_bitmap();
    if (bitmap_ == nullptr) {
        DeleteDC(dc_);
        throw Failure("the display", "there is no memory to act as another one");
    }
    before_ = SelectObject(dc_, bitmap_);
}

ActedDisplay::~ActedDisplay() {
    SelectObject(dc_, before_);
    DeleteObject(bitmap_);
    DeleteDC(dc_);
}

void ActedDisplay::make_bitmap() {
    struct {
        BITMAPINFOHEADER header;
        RGBQUAD colours[16];
    } description = {};
    const int colours = colours_of(acted_type());
    description.header = {.biSize = sizeof description.header,
                          .biWidth = width_,
                          .biHeight = -size_.height,
                          .biPlanes = 1,
                          .biBitCount = static_cast<WORD>(bits_),
                          .biCompression = BI_RGB,
                          .biClrUsed = static_cast<DWORD>(colours)};
    read_colours(colours, description.colours);
    void *pixels = nullptr;
    bitmap_ = CreateDIBSection(dc_, reinterpret_cast<const BITMAPINFO *>(&description),
                               DIB_RGB_COLORS, &pixels, nullptr, 0);
    pixels_ = static_cast<uint8_t *>(pixels);
}

void ActedDisplay::show(HDC window, Point at) {
    GdiFlush();
    if (planes_)
        gather_planes();
    BitBlt(window, at.x, at.y, size_.width, size_.height, dc_, 0, 0, SRCCOPY);
}

// Plane p holds bit p of each pixel's colour.
void ActedDisplay::gather_planes() {
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

} // namespace apps::q32view
