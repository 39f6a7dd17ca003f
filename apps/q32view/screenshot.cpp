// Pixels out of the window's device context, whatever the display's depth, as 24 bits.
#include "screenshot.h"

#include "apps/pictures/areas.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/picture_writer.h"

#include <cstdint>

namespace apps::q32view {
namespace {

class WindowDc {
public:
    WindowDc(HWND window, bool with_menu)
        : window_(window), dc_(with_menu ? GetWindowDC(window) : GetDC(window)) {}
    ~WindowDc() { ReleaseDC(window_, dc_); }
    WindowDc(const WindowDc &) = delete;
    WindowDc &operator=(const WindowDc &) = delete;

    HDC get() const { return dc_; }

private:
    HWND window_;
    HDC dc_;
};

// A bitmap of 24 bits in memory, top row first, with a context to draw on it.
class Copy {
public:
    explicit Copy(Size size) : dc_(CreateCompatibleDC(nullptr)) {
        BITMAPINFO info = {};
        info.bmiHeader = {.biSize = sizeof info.bmiHeader,
                          .biWidth = size.width,
                          .biHeight = -size.height,
                          .biPlanes = 1,
                          .biBitCount = 24,
                          .biCompression = BI_RGB};
        void *pixels = nullptr;
        bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
        pixels_ = static_cast<const uint8_t *>(pixels);
        row_bytes_ = (static_cast<size_t>(size.width) * 3 + 3) / 4 * 4;
        before_ = SelectObject(dc_, bitmap_);
    }
    ~Copy() {
        SelectObject(dc_, before_);
        DeleteObject(bitmap_);
        DeleteDC(dc_);
    }
    Copy(const Copy &) = delete;
    Copy &operator=(const Copy &) = delete;

    HDC dc() const { return dc_; }
    bool is_made() const { return bitmap_ != nullptr; }
    const uint8_t *row(int y) const { return pixels_ + row_bytes_ * static_cast<size_t>(y); }

private:
    HDC dc_;
    HBITMAP bitmap_;
    HGDIOBJ before_;
    const uint8_t *pixels_;
    size_t row_bytes_;
};

// In the coordinates of the window's corner, or of its client area's. The title and the border are
// left out: often they are not the window's own work.
Area shown_area(HWND window, bool with_menu) {
    RECT client = {}, outer = {};
    GetClientRect(window, &client);
    if (!with_menu)
        return {0, 0, client.right, client.bottom};
    MENUBARINFO menu = {.cbSize = sizeof menu};
    GetMenuBarInfo(window, OBJID_MENU, 0, &menu);
    GetWindowRect(window, &outer);
    MapWindowPoints(window, nullptr, reinterpret_cast<POINT *>(&client), 2);
    return {client.left - outer.left, menu.rcBar.top - outer.top, client.right - outer.left,
            client.bottom - outer.top};
}

} // namespace

void save_screenshot(HWND window, bool with_menu, const std::string &path) {
    const FileFormat format = check_output(path);
    const Area area = shown_area(window, with_menu);
    const Size size = area.size();
    if (size.is_empty())
        throw Failure(path, "the window shows nothing");
    const WindowDc source(window, with_menu);
    const Copy copy(size);
    if (!copy.is_made() || !BitBlt(copy.dc(), 0, 0, size.width, size.height, source.get(),
                                   area.left, area.top, SRCCOPY))
        throw Failure(path, "the window's contents cannot be read");
    GdiFlush();
    PictureWriter writer(path, format, RowFormat::bgr, size.width, size.height);
    for (int y = 0; y < size.height; ++y)
        writer.write_row(copy.row(y));
    writer.commit();
}

} // namespace apps::q32view
