// A display run in WM_PAINT, with palettes: a window that shows a picture on whatever display there
// is.
//
//     06_display_run [--save OUTPUT.png] [PICTURE]
//
// What to see: the picture, dithered where the display needs it, and below it an image of 8 bits a
// pixel that shows the 256 colours of its palette. Key 3 shows both as a display of 256 colours
// would, 4 as one of true colour, 5 as one of high colour. --save saves what 4 and 3 show.
#include "common/picture.h"
#include "common/report.h"
#include "common/window.h"

#include <q32base.h>

#include <cstdint>
#include <cstring>

namespace {

HBUF32 picture;
HPALETTE palette;
int width, height, rows; // of the picture, and of the window

const std::uint8_t *picture_row(int y) {
    static std::uint8_t row[Q32_MAX_SIDE * 3];
    return buf32GetMem(picture, 0, y, width, 1, row) ? row : nullptr;
}

const std::uint8_t *palette_row(int) {
    static std::uint8_t row[Q32_MAX_SIDE];
    for (int x = 0; x < width; ++x)
        row[x] = std::uint8_t(x * 256 / width);
    return row;
}

// Shows what has to be painted of an image that is as wide as the window.
void show(const PAINTSTRUCT &paint, int top, int bottom, int depth, HPALETTE colours,
          const std::uint8_t *row_at(int y)) {
    const RECT image = {0, top, width, bottom};
    RECT part;
    HDISPRUN run = 0;
    if (!IntersectRect(&part, &image, &paint.rcPaint) ||
        !disp32ShowInit(&run, paint.hdc, depth, part.left, part.top, part.right, part.bottom,
                        colours, 0, FALSE))
        return;
    for (int y = part.top; y < part.bottom; ++y)
        disp32ShowData(run, row_at(y - top), part.left, 0, 1, 0);
    disp32ShowEnd(run); // draws what the run still holds
}

LRESULT CALLBACK handle(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
    PAINTSTRUCT paint;
    switch (message) {
    case WM_PAINT:
        BeginPaint(window, &paint);
        show(paint, 0, height, 24, nullptr, picture_row);
        show(paint, height, rows, 8, palette, palette_row);
        EndPaint(window, &paint);
        return 0;
    // A run realizes its palette whenever it draws. What is left to the window is to be drawn anew
    // when it comes to the front, and when another one has changed the display's colours.
    case WM_QUERYNEWPALETTE:
        return InvalidateRect(window, nullptr, FALSE);
    case WM_PALETTECHANGED:
        return reinterpret_cast<HWND>(wide) == window || InvalidateRect(window, nullptr, FALSE);
    case WM_CHAR:
        disp32SetDevType(int(wide) - '0'); // other keys: the display as it is
        return InvalidateRect(window, nullptr, FALSE);
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProc(window, message, wide, parameter);
    }
}

bool save(HWND window, const char *path) {
    HBUF32 sheet = 0;
    const bool done = buf32Alloc(&sheet, 24, width, 2 * rows, BUF32_TILED, nullptr) &&
                      disp32SetDevType(DISP32_TRUE_COLOUR) && window_copy(window, sheet, 0, 0) &&
                      disp32SetDevType(DISP32_PALETTE) && window_copy(window, sheet, 0, rows) &&
                      picture_save(sheet, path);
    buf32Free(sheet);
    return done;
}

} // namespace

int main(int argc, char **argv) {
    const bool saves = argc > 2 && std::strcmp(argv[1], "--save") == 0;
    HWND window;
    palette = disp32CreateColorPalette(nullptr, 0 /* 8 x 8 x 4 */, 256, 0);
    const bool done = palette && picture_load(&picture, argv[saves ? 3 : 1]) &&
                      buf32GetWHU(picture, &width, &height, nullptr) && (rows = height + 32) &&
                      (window = window_open("A display run", width, rows, handle)) &&
                      (saves ? save(window, argv[2]) : window_loop());
    buf32Free(picture);
    DeleteObject(palette);
    return end_program("06_display_run", done);
}
