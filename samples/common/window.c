/* Opening a window, its messages, and its pixels out of GDI into a buffer. */
#include "window.h"

#include "report.h"

HWND window_open(const char *title, int width, int height, WNDPROC handle) {
    WNDCLASSA kind = {0};
    RECT area = {0, 0, width, height};
    HWND window = NULL;
    kind.lpfnWndProc = handle;
    kind.hInstance = GetModuleHandle(NULL);
    kind.hCursor = LoadCursor(NULL, IDC_ARROW);
    kind.hbrBackground = GetStockObject(GRAY_BRUSH);
    kind.lpszClassName = "Q32BaseSample";
    AdjustWindowRect(&area, WS_OVERLAPPEDWINDOW, FALSE);
    if (RegisterClassA(&kind))
        window = CreateWindowA(kind.lpszClassName, title, WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                               area.right - area.left, area.bottom - area.top, NULL, NULL,
                               kind.hInstance, NULL);
    if (!window)
        report("the window", "cannot be opened");
    return window;
}

int window_loop(void) {
    MSG message;
    while (GetMessage(&message, NULL, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessage(&message);
    }
    return 1;
}

/* A buffer over the pixels of a bitmap makes a picture of what GDI has drawn. */
int window_copy(HWND window, HBUF32 picture, int x, int y) {
    BITMAPINFO bitmap = {0};
    RECT area;
    HDC from = GetDC(window), to = CreateCompatibleDC(from);
    HBITMAP section;
    HGDIOBJ before;
    HBUF32 image = 0;
    void *pixels = NULL;
    int done;
    GetClientRect(window, &area);
    bitmap.bmiHeader.biSize = sizeof bitmap.bmiHeader;
    bitmap.bmiHeader.biWidth = area.right;
    bitmap.bmiHeader.biHeight = area.bottom;
    bitmap.bmiHeader.biPlanes = 1;
    bitmap.bmiHeader.biBitCount = 24;
    section = CreateDIBSection(to, &bitmap, DIB_RGB_COLORS, &pixels, NULL, 0);
    before = SelectObject(to, section);
    InvalidateRect(window, NULL, FALSE);
    UpdateWindow(window); /* WM_PAINT, now */
    BitBlt(to, 0, 0, area.right, area.bottom, from, 0, 0, SRCCOPY);
    GdiFlush();
    done = buf32DIBMemBufAlloc(&image, 24, area.right, area.bottom, pixels) &&
           buf32MergeBuf(image, 0, 0, area.right, area.bottom, picture, x, y);
    buf32Free(image);
    SelectObject(to, before);
    DeleteObject(section);
    DeleteDC(to);
    ReleaseDC(window, from);
    return done;
}
