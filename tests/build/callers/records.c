/* Records that both sides must lay out alike, and handles of the system on their way there and
 * back. */
#include "expect.h"

#include <q32base.h>
#include <q32comm.h>
#include <string.h>

static void a_buffer_tells_about_itself(void) {
    BUF32INFO info;
    BUF32CELL cell;
    HBUF32 buffer = 0;
    void *address = NULL;
    memset(&info, 0xEE, sizeof info);
    EXPECT(buf32Alloc(&buffer, 24, 300, 200, BUF32_TILED, NULL));
    EXPECT(buf32GetInfo(buffer, &info));
    EXPECT(info.type == 0 && info.data_handle == NULL && info.bits_per_pixel == 24 &&
           info.width == 300);
    EXPECT(info.image_bytes == 180000 && info.reserved_bytes == 180000);
    EXPECT(info.cell_count == 6 && info.cell_columns == 3 && info.cell_rows == 2);
    EXPECT(info.last_column_width == 44 && info.last_row_height == 72);
    EXPECT(info.band_bytes == 115200 && info.cell_bytes == 49152);
    EXPECT(buf32CellLock(buffer, 5, &address, &cell) && address);
    EXPECT(cell.index == 5 && cell.x == 256 && cell.y == 128 && cell.width == 44 &&
           cell.height == 72);
    EXPECT(cell.row_bytes == 132 && cell.bytes == 9504 && cell.pixels == 3168);
    EXPECT(buf32CellUnlock(buffer, 5) && buf32Lock(buffer, BUF32_WRITE, &address));
    EXPECT(buf32GetInfo(buffer, &info) && info.lock_count == 1 && info.access_mode == BUF32_WRITE);
    EXPECT(buf32Unlock(buffer) && buf32Free(buffer));
}

static void records_hold_pointers(void) {
    static const unsigned char checks[4] = {0, 255, 255, 0};
    unsigned char row[8];
    const BUF32PATTERN pattern = {2, 2, checks};
    HBUF32 buffer = 0;
    EXPECT(buf32Alloc(&buffer, 8, 8, 8, BUF32_PATTERN, &pattern));
    EXPECT(buf32GetMem(buffer, 0, 1, 8, 1, row));
    EXPECT(row[0] == 255 && row[1] == 0 && row[7] == 0);
    EXPECT(buf32Free(buffer));
}

static void a_report_is_read_back(void) {
    C32ERRINFO report;
    char text[80];
    memset(&report, 0xEE, sizeof report);
    EXPECT(buf32Alloc(NULL, 24, 1, 1, BUF32_TILED, NULL) == 0);
    EXPECT(c32GetDLLErrInfo(&report) == 1 && report.text[0] == 0);
    EXPECT(report.message == 3200 && report.severity == 0 && report.library == Q32_LIBRARY_NUMBER);
    EXPECT(report.module == 4 && report.point == 7);
    EXPECT(c32GetErrText(report.message, text, sizeof text) > 0 && strlen(text) > 10);
}

/* A bar is drawn on a bitmap of the program's own. */
static void a_device_context_is_drawn_on(void) {
    BITMAPINFO header = {{sizeof(BITMAPINFOHEADER), 64, -4, 1, 24, BI_RGB, 0, 0, 0, 0, 0},
                         {{0, 0, 0, 0}}};
    const RECT all = {0, 0, 64, 4};
    void *pixels = NULL;
    HDC dc = CreateCompatibleDC(NULL);
    HBITMAP bitmap = CreateDIBSection(dc, &header, DIB_RGB_COLORS, &pixels, NULL, 0);
    HGDIOBJ before = SelectObject(dc, bitmap);
    EXPECT(dc && bitmap && pixels);
    EXPECT(disp32SetDevType(DISP32_TRUE_COLOUR));
    EXPECT(q32RectDrawColorBar(dc, &all, RGB(0, 64, 128), RGB(64, 128, 0), 1, 0) == 1);
    GdiFlush();
    /* Blue first: from (128, 64, 0) by (-2, 1, 1) a column. */
    EXPECT(memcmp(pixels, "\x80\x40\0\x7E\x41\1", 6) == 0);
    SelectObject(dc, before);
    DeleteObject(bitmap);
    DeleteDC(dc);
}

static void a_palette_is_made(void) {
    PALETTEENTRY entry;
    HPALETTE greys = disp32CreateGrayPalette(NULL, 16, 0);
    EXPECT(greys && disp32PalSize(greys) == 16);
    EXPECT(GetPaletteEntries(greys, 15, 1, &entry) == 1 && entry.peRed == 255 &&
           entry.peBlue == 255);
    EXPECT(DeleteObject(greys));
}

int main(void) {
    a_buffer_tells_about_itself();
    records_hold_pointers();
    a_report_is_read_back();
    a_device_context_is_drawn_on();
    a_palette_is_made();
    return finish("records");
}
