// Bands of rows out of the buffer, changed into the pixels that the library is to show.
#include "painter.h"

#include "apps/pictures/display_bitmap.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "apps/pictures/owned.h"
#include "chequerboard.h"

#include <q32base/buffers.h>
#include <q32base/display.h>
#include <q32base/rows.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace apps::q32view {
namespace {

constexpr size_t band_bytes = 64 * 1024;
constexpr int threshold = 127; // above it a grey is white
constexpr int cube_side = 6;

// The palette of ShownFormat::palette, made when it is first needed.
HPALETTE cube_palette() {
    static const HPALETTE palette = [] {
        struct {
            WORD version = 0x300;
            WORD count = cube_side * cube_side * cube_side;
            PALETTEENTRY entries[cube_side * cube_side * cube_side] = {};
        } cube;
        for (int i = 0; i < cube.count; ++i) {
            constexpr int step = 255 / (cube_side - 1);
            cube.entries[i] = {static_cast<BYTE>(i / (cube_side * cube_side) * step),
                               static_cast<BYTE>(i / cube_side % cube_side * step),
                               static_cast<BYTE>(i % cube_side * step), 0};
        }
        return CreatePalette(reinterpret_cast<const LOGPALETTE *>(&cube));
    }();
    return palette;
}

uint8_t cube_index(const uint8_t *rgb) {
    const auto level = [](int value) { return (value * (cube_side - 1) + 127) / 255; };
    return static_cast<uint8_t>((level(rgb[0]) * cube_side + level(rgb[1])) * cube_side +
                                level(rgb[2]));
}

uint8_t grey_of(const uint8_t *rgb) {
    return static_cast<uint8_t>((rgb[0] * 299 + rgb[1] * 587 + rgb[2] * 114 + 500) / 1000);
}

template <typename Change>
void change_pixels(uint8_t *pixels, int count, const Change &change) {
    for (int i = 0; i < count; ++i)
        pixels[i] = change(pixels + static_cast<size_t>(i) * 3);
}

// In place: no format is wider than 24 bits. Returns the bytes of a row.
int change_rows(uint8_t *pixels, int width, int rows, ShownFormat format) {
    const int count = width * rows;
    switch (format) {
    case ShownFormat::rgb:
        break;
    case ShownFormat::rgb555: {
        std::vector<uint8_t> words(static_cast<size_t>(count) * 2);
        mem32_888To555(words.data(), pixels, count);
        std::copy(words.begin(), words.end(), pixels);
        return width * 2;
    }
    case ShownFormat::palette:
        change_pixels(pixels, count, cube_index);
        return width;
    case ShownFormat::grey:
        change_pixels(pixels, count, grey_of);
        return width;
    case ShownFormat::bits: {
        change_pixels(pixels, count, grey_of);
        const int row_bytes = (width + 7) / 8;
        std::vector<uint8_t> bits(static_cast<size_t>(row_bytes));
        for (int y = 0; y < rows; ++y) {
            mem32ByteToBit(bits.data(), pixels + static_cast<ptrdiff_t>(y) * width, width,
                           threshold);
            std::copy(bits.begin(), bits.end(), pixels + static_cast<ptrdiff_t>(y) * row_bytes);
        }
        return row_bytes;
    }
    }
    return width * 3;
}

// In the order of ShownFormat.
constexpr int depths[] = {24, 16, 8, 8, 1};

int depth_of(ShownFormat format) {
    return depths[static_cast<size_t>(format)];
}

using Run = Owned<disp32ShowEnd, HDISPRUN>;

Run run_over(HDC dc, const Area &area, Point matrix, const ShowSettings &settings) {
    const HPALETTE palette = settings.pixels == ShownFormat::palette ? cube_palette() : nullptr;
    HDISPRUN run = 0;
    if (!disp32ShowInitEx(&run, dc, depth_of(settings.pixels), area.left, area.top, area.right,
                          area.bottom, palette, settings.palette_option, FALSE, matrix.x, matrix.y))
        throw Failure("the display", "nothing can be shown on it");
    return Run(run);
}

void read(HBUF32 buffer, Point place, Size size, uint8_t *pixels) {
    if (!buf32GetMem(buffer, place.x, place.y, size.width, size.height, pixels))
        throw library_failure("the picture", "its pixels cannot be read");
}

// Columns of the area beyond the buffer are drawn, with whatever colour.
void show_rows(HDC dc, const Area &area, const Paint &what, const ShowSettings &settings) {
    const int width = area.width(), height = area.height();
    const size_t row_bytes = static_cast<size_t>(width) * 3;
    const int band_rows = std::clamp(static_cast<int>(band_bytes / row_bytes), 1, height);
    std::vector<uint8_t> band(row_bytes * static_cast<size_t>(band_rows));
    std::vector<uint8_t> opacity(what.opacity != 0 ? band.size() / 3 : 0);
    const Run run = run_over(dc, area, what.matrix, settings);
    for (int first = 0; first < height; first += band_rows) {
        const int rows = std::min(band_rows, height - first);
        read(what.buffer, what.place + Point{0, first}, {width, rows}, band.data());
        if (what.opacity != 0) {
            read(what.opacity, what.place + Point{0, first}, {width, rows}, opacity.data());
            lay_over_chequerboard(band.data(), opacity.data(), {width, rows},
                                  what.matrix + Point{0, first});
        }
        const int changed_bytes = change_rows(band.data(), width, rows, settings.pixels);
        if (!disp32ShowData(run.get(), band.data(), 0, 0, rows, changed_bytes))
            throw Failure("the display", "the system does not draw the picture");
    }
}

// Whether the library acts for a display of 2, 8 or 16 colours and the window's is another one. On
// displays of more colours the window shows what is drawn as it is.
bool needs_bitmap(const ShowSettings &settings) {
    if (!settings.device_type || *settings.device_type > DISP32_SIXTEEN_COLOURS)
        return false;
    const HDC screen = GetDC(nullptr);
    const int bits = GetDeviceCaps(screen, BITSPIXEL) * GetDeviceCaps(screen, PLANES);
    ReleaseDC(nullptr, screen);
    return bits > 4;
}

} // namespace

void draw_acted(HDC dc, const Area &area, int depth, const ShowSettings &settings,
                const std::function<void(HDC, const Area &)> &draw) {
    if (!needs_bitmap(settings)) {
        draw(dc, area);
        return;
    }
    DisplayBitmap display(*settings.device_type, {depth, false}, area.size());
    if (!display.is_made())
        throw Failure("the display", "there is no memory to act as another one");
    draw(display.dc(), {0, 0, display.width(), area.height()});
    display.finish();
    display.show(dc, area.corner());
}

void paint(HDC dc, const Area &area, const Paint &what, const ShowSettings &settings) {
    if (area.is_empty())
        return;
    const int depth = settings.pixels == ShownFormat::palette ? 24 : depth_of(settings.pixels);
    draw_acted(dc, area, depth, settings,
               [&](HDC acted, const Area &drawn) { show_rows(acted, drawn, what, settings); });
}

} // namespace apps::q32view
