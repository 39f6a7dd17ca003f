// Pixels out of the window's device context, whatever the display's depth, as 24 bits.
#include "screenshot.h"

#include "apps/pictures/display_bitmap.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/picture_writer.h"

#include <q32base/display.h>

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
    DisplayBitmap copy(DISP32_TRUE_COLOUR, {24, false}, size);
    if (!copy.is_made() || !BitBlt(copy.dc(), 0, 0, size.width, size.height, source.get(),
                                   area.left, area.top, SRCCOPY))
        throw Failure(path, "the window's contents cannot be read");
    copy.finish();
    PictureWriter writer(path, format, RowFormat::bgr, size.width, size.height);
    for (int y = 0; y < size.height; ++y)
        writer.write_row(copy.row(y));
    writer.commit();
}

} // namespace apps::q32view
